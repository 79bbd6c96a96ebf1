#include "push/secret_mask.h"

#include <algorithm>
#include <charconv>

#include "push/url_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char MASK = '\0';  // no secret has it

// Reads `count` hexadecimal digits. Negative for other characters.
int ReadHex(const std::string& text, std::size_t at, std::size_t count) {
  int number = -1;
  if (at + count > text.size()) {
    return -1;
  }
  const char* const begin = text.data() + at;
  const auto [end, error] = std::from_chars(begin, begin + count, number, 16);
  return end == begin + count ? number : -1;
}

void AppendUtf8(int character, std::string& text) {
  const auto append = [&text](int byte) { text += static_cast<char>(byte); };
  if (character < 0x80) {
    append(character);
  } else if (character < 0x800) {
    append(0xc0 | character >> 6);
    append(0x80 | (character & 0x3f));
  } else {
    append(0xe0 | character >> 12);
    append(0x80 | (character >> 6 & 0x3f));
    append(0x80 | (character & 0x3f));
  }
}

// Without the escapes of URLs (%41) and of JSON (\u0041, \/).
std::string Unescape(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int byte = text[i] == '%' ? ReadHex(text, i + 1, 2) : -1;
    const bool isLong = text.compare(i, 2, "\\u") == 0;
    const int character = isLong ? ReadHex(text, i + 2, 4) : -1;
    if (byte >= 0) {
      plain += static_cast<char>(byte);
      i += 2;
    } else if (character >= 0) {
      AppendUtf8(character, plain);
      i += 5;
    } else if (text[i] != '\\' || i + 1 == text.size()) {
      plain += text[i];
    } else {
      plain += text[++i];
    }
  }
  return plain;
}

// Overlapping secrets are all covered.
std::string Cover(const std::string& words, const std::vector<std::string>& secrets) {
  std::vector<bool> isSecret(words.size());
  for (const std::string& secret : secrets) {
    for (std::size_t at = words.find(secret); at != std::string::npos;
         at = words.find(secret, at + 1)) {
      std::fill_n(isSecret.begin() + static_cast<std::ptrdiff_t>(at), secret.size(), true);
    }
  }
  std::string covered;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (!isSecret[i]) {
      covered += words[i];
    } else if (i == 0 || !isSecret[i - 1]) {
      covered += MASK;
    }
  }
  return covered;
}

}  // namespace

void SecretMask::Add(const std::string& secret) {
  if (secret.empty()) {
    return;
  }
  const std::string encoded = EncodeUrlPart(secret);
  std::string form = encoded;  // as a form of HTML sends it
  for (std::size_t at = form.find("%20"); at != std::string::npos; at = form.find("%20", at)) {
    form.replace(at, 3, "+");
  }
  secrets.insert(secrets.end(), {secret, encoded, form});
}

std::string SecretMask::Hide(const std::string& words) const {
  constexpr int MOST_ESCAPES = 4;  // nested
  std::string covered = Cover(words, secrets);
  std::string plain = covered;
  for (int i = 0; i < MOST_ESCAPES; ++i) {
    plain = Unescape(plain);
    if (Cover(plain, secrets) != plain) {
      return "";
    }
  }
  std::replace(covered.begin(), covered.end(), MASK, '*');
  return covered;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
