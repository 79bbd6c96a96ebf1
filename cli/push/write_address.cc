#include "push/write_address.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <memory>
#include <new>
#include <sstream>

#include "base/command_error.h"
#include "push/curl_library.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

[[noreturn]] void Refuse(const std::string& problem) { throw UsageError("URL", problem); }

struct CloseUrl {
  void operator()(CURLU* url) const { CurlLibrary::Get().cleanUpUrl(url); }
};
using Url = std::unique_ptr<CURLU, CloseUrl>;

std::string Get(const Url& url, CURLUPart part, unsigned int flags = 0) {
  char* text = nullptr;
  if (CurlLibrary::Get().getUrlPart(url.get(), part, &text, flags) != CURLUE_OK) {
    return "";
  }
  std::string copy = text;
  CurlLibrary::Get().free(text);
  return copy;
}

void Set(const Url& url, CURLUPart part, const char* text, unsigned int flags = 0) {
  if (CurlLibrary::Get().setUrlPart(url.get(), part, text, flags) != CURLUE_OK) {
    Refuse("it is not one of a server, such as http://127.0.0.1:8428/write");
  }
}

Url Parse(const std::string& text) {
  Url url(CurlLibrary::Get().makeUrl());
  if (url == nullptr) {
    throw std::bad_alloc();
  }
  Set(url, CURLUPART_URL, text.c_str());
  const std::string scheme = Get(url, CURLUPART_SCHEME);
  if (scheme != "http" && scheme != "https") {
    Refuse("it begins neither with http:// nor with https://");
  }
  return url;
}

std::string Decode(const std::string& text) {
  int size = 0;
  char* const decoded =
      CurlLibrary::Get().easyUnescape(nullptr, text.data(), static_cast<int>(text.size()), &size);
  std::string copy(decoded, static_cast<std::size_t>(size));
  CurlLibrary::Get().free(decoded);
  if (copy.find('\0') != std::string::npos) {
    Refuse("%00 stands in a parameter");
  }
  return copy;
}

std::string Encode(const std::string& text) {
  char* const encoded =
      CurlLibrary::Get().easyEscape(nullptr, text.data(), static_cast<int>(text.size()));
  std::string copy = encoded;
  CurlLibrary::Get().free(encoded);
  return copy;
}

std::string Hash(const std::string& text) {
  std::uint64_t hash = 0xcbf29ce484222325;  // FNV-1a
  for (const char character : text) {
    hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001b3;
  }
  return std::to_string(hash);
}

// As a header of HTTP has it, without the padding.
std::string EncodeBase64(const std::string& text) {
  constexpr char DIGITS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr unsigned int DIGIT_BITS = 6;
  std::string encoded;
  unsigned int bits = 0;
  unsigned int bitCount = 0;
  for (const char character : text) {
    bits = bits << 8 | static_cast<unsigned char>(character);
    for (bitCount += 8; bitCount >= DIGIT_BITS; bitCount -= DIGIT_BITS) {
      encoded += DIGITS[bits >> (bitCount - DIGIT_BITS) & 63];
    }
  }
  return bitCount == 0 ? encoded : encoded + DIGITS[bits << (DIGIT_BITS - bitCount) & 63];
}

bool IsKnown(const std::string& key) {
  const auto known = {"db", "rp", "org", "orgID", "bucket", "extra_label"};
  return std::find(known.begin(), known.end(), key) != known.end();
}

void AddSecret(const std::string& secret, WriteAddress& address) {
  if (!secret.empty()) {
    address.secrets.push_back(secret);
  }
}

// Parameters that are not known may be secret; their values are told apart all the same.
std::string DescribeParameter(const std::string& key, const std::string& parameter,
                              const std::string& value, WriteAddress& address) {
  if (IsKnown(key)) {
    return parameter;
  }
  AddSecret(value, address);
  AddSecret(Decode(value), address);
  return key + "=*" + Hash(parameter);
}

// A name of any length, as a file may have it.
std::string MakeFileName(const std::string& name) {
  constexpr std::size_t LONGEST = 200;
  const std::string encoded = Encode(name);
  return encoded.size() <= LONGEST ? encoded : encoded.substr(0, LONGEST) + Hash(name);
}

// Takes the user and the password out of the query, which becomes part of the name.
std::string TakeParameters(const std::string& query, WriteAddress& address) {
  std::istringstream parameters(query);
  std::string rest;
  for (std::string parameter; std::getline(parameters, parameter, '&');) {
    const std::size_t sign = parameter.find('=');
    const std::string key = Decode(parameter.substr(0, sign));
    const std::string value = sign == std::string::npos ? "" : parameter.substr(sign + 1);
    if (key == "u" || key == "p") {
      if (sign == std::string::npos) {
        Refuse("its parameter " + key + " has no value");
      }
      (key == "u" ? address.user : address.password) = Decode(value);
    } else if (key == "precision") {
      Refuse("the precision of the timestamps is given by the command itself");
    } else if (!parameter.empty()) {
      const bool isFirst = rest.empty();
      rest += (isFirst ? "" : "&") + parameter;
      address.name += (isFirst ? "?" : "&") + DescribeParameter(key, parameter, value, address);
    }
  }
  return rest;
}

std::string ReadSecret(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  if (line.empty()) {
    throw CommandError(path, "its first line is no secret, or cannot be read", StatusCode::IoError);
  }
  return line;
}

void ReadSecrets(const Secrets& secrets, WriteAddress& address) {
  const bool hasUser = !address.user.empty() || !address.password.empty();
  if ((hasUser ? 1 : 0) + (secrets.userFile ? 1 : 0) + (secrets.tokenFile ? 1 : 0) > 1) {
    Refuse("a user in it, --user-file and --token-file exclude each other");
  }
  if (secrets.userFile) {
    const std::string secret = ReadSecret(*secrets.userFile);
    const std::size_t colon = secret.find(':');
    if (colon == std::string::npos) {
      throw CommandError(*secrets.userFile, "its first line is not USER:PASSWORD",
                         StatusCode::InvalidArgument);
    }
    address.user = secret.substr(0, colon);
    address.password = secret.substr(colon + 1);
  }
  if (secrets.tokenFile) {
    const std::string token = ReadSecret(*secrets.tokenFile);
    const bool hasScheme = token.find(' ') != std::string::npos;
    address.authorization = hasScheme ? token : "Token " + token;
    AddSecret(token.substr(token.find(' ') + 1), address);
  }
  AddSecret(address.password, address);
  if (!address.password.empty()) {
    AddSecret(EncodeBase64(address.user + ":" + address.password), address);
  }
}

}  // namespace

WriteAddress ReadWriteAddress(const std::string& text, const Secrets& secrets) {
  const Url url = Parse(text);
  WriteAddress address;
  address.user = Get(url, CURLUPART_USER, CURLU_URLDECODE);
  address.password = Get(url, CURLUPART_PASSWORD, CURLU_URLDECODE);
  Set(url, CURLUPART_USER, nullptr);
  Set(url, CURLUPART_PASSWORD, nullptr);
  Set(url, CURLUPART_FRAGMENT, nullptr);
  const std::string query = Get(url, CURLUPART_QUERY);
  Set(url, CURLUPART_QUERY, nullptr);
  address.name = Get(url, CURLUPART_URL);
  const std::string rest = TakeParameters(query, address);
  Set(url, CURLUPART_QUERY, rest.empty() ? nullptr : rest.c_str());
  Set(url, CURLUPART_QUERY, "precision=s", CURLU_APPENDQUERY);
  address.url = Get(url, CURLUPART_URL);
  address.fileName = MakeFileName(address.name);
  ReadSecrets(secrets, address);
  return address;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
