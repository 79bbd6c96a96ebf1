#include "push/write_address.h"

#include <curl/curl.h>
#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string_view>
#include <system_error>

#include "base/command_error.h"
#include "base/digest.h"
#include "push/url_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

[[noreturn]] void Refuse(const std::string& problem) { throw UsageError("URL", problem); }

constexpr char EXAMPLE[] = "it is not one of a server, such as http://127.0.0.1:8428/write";

struct CloseUrl {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, CloseUrl>;

std::string Get(const Url& url, CURLUPart part, unsigned int flags = 0) {
  char* text = nullptr;
  if (curl_url_get(url.get(), part, &text, flags) != CURLUE_OK) {
    return "";
  }
  const std::unique_ptr<char, decltype(&curl_free)> owner(text, curl_free);
  return text;
}

void Set(const Url& url, CURLUPart part, const char* text) {
  if (curl_url_set(url.get(), part, text, 0) != CURLUE_OK) {
    Refuse(EXAMPLE);
  }
}

// libcurl also takes a URL with one or three slashes, and one without a scheme.
bool IsWhole(const std::string& text) {
  for (const std::string_view start : {"http://", "https://"}) {
    if (strncasecmp(text.c_str(), start.data(), start.size()) == 0) {
      return text.size() > start.size() && text[start.size()] != '/';
    }
  }
  return false;
}

Url Parse(const std::string& text) {
  if (!IsWhole(text)) {
    Refuse(EXAMPLE);
  }
  Url url(curl_url());
  RequireMemory(url != nullptr);
  Set(url, CURLUPART_URL, text.c_str());
  return url;
}

std::string Decode(const std::string& text) {
  std::string decoded = DecodeUrlPart(text);
  if (decoded.find('\0') != std::string::npos) {
    Refuse("%00 stands in a parameter");
  }
  return decoded;
}

// Base64, without the padding.
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
  if (bitCount > 0) {
    encoded += DIGITS[bits << (DIGIT_BITS - bitCount) & 63];
  }
  return encoded;
}

bool IsKnown(const std::string& key) {
  const auto known = {"db", "rp", "org", "orgID", "bucket", "extra_label"};
  return std::find(known.begin(), known.end(), key) != known.end();
}

// An unknown parameter may be secret, and one without a value may itself be a secret.
std::string DescribeParameter(const std::string& key, const std::string& parameter,
                              WriteAddress& address) {
  if (IsKnown(key)) {
    return parameter;
  }
  const std::size_t sign = parameter.find('=');
  const std::string value = parameter.substr(sign + 1);  // all of one without a value
  address.mask.Add(value);
  address.mask.Add(Decode(value));
  address.hasHiddenParameters = true;
  if (sign == std::string::npos) {
    return "*";
  }
  return key + "=*";
}

// A file name that stands for a name of any length.
std::string MakeFileName(const std::string& name) {
  constexpr std::size_t LONGEST = 200;
  std::string encoded = EncodeUrlPart(name);
  if (encoded.size() > LONGEST) {
    encoded.resize(LONGEST);
    encoded += ComputeDigest(name);
  }
  return encoded;
}

// Takes the user and the password out of the query; the rest, each with a '&' behind it, becomes
// part of the name.
std::string TakeParameters(const std::string& query, WriteAddress& address) {
  std::istringstream parameters(query);
  std::string rest;
  char separator = '?';
  for (std::string parameter; std::getline(parameters, parameter, '&');) {
    const std::size_t sign = parameter.find('=');
    const std::string key = Decode(parameter.substr(0, sign));
    if (key == "u" || key == "p") {
      if (sign == std::string::npos) {
        Refuse("its parameter " + key + " has no value");
      }
      (key == "u" ? address.user : address.password) = Decode(parameter.substr(sign + 1));
    } else if (key == "precision") {
      Refuse("the precision of the timestamps is given by the command itself");
    } else if (!parameter.empty()) {
      rest += parameter + '&';
      address.name += separator + DescribeParameter(key, parameter, address);
      separator = '&';
    }
  }
  return rest;
}

// A user without a password is a token.
void AddPair(WriteAddress& address) {
  address.mask.Add(address.password.empty() ? address.user : address.password);
  if (!address.user.empty() || !address.password.empty()) {
    const std::string pair = EncodeBase64(address.user + ":" + address.password);
    address.mask.Add(pair);
    address.mask.Add(pair + '=');
    address.mask.Add(pair + "==");
  }
}

// The first line of a file. A message warns about a file that every user can read.
std::string ReadSecretFile(const std::string& path) {
  constexpr std::size_t LONGEST = 8192;
  std::ifstream file(path);
  const bool isOpen = file.is_open();
  char bytes[LONGEST] = "";
  file.getline(bytes, sizeof bytes);
  if (!isOpen || file.bad()) {
    throw CommandError(path,
                       std::string(isOpen ? "cannot be read: " : "cannot be opened: ") +
                           std::generic_category().message(errno),
                       StatusCode::IoError);
  }
  const bool hasEnd = file.good();  // which is counted
  std::string line(bytes, static_cast<std::size_t>(file.gcount() - (hasEnd ? 1 : 0)));
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  const bool hasControls = std::any_of(line.begin(), line.end(), [](unsigned char character) {
    return character < ' ' || character == 127;
  });
  if (line.empty() || hasControls) {
    throw CommandError(path, "its first line is no secret");
  }
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::perms permissions = fs::status(path, error).permissions();
  if ((permissions & fs::perms::others_read) != fs::perms::none) {
    PrintMessage(path + ": every user can read this secret; chmod 600 keeps it");
  }
  return line;
}

void ReadSecrets(const Secrets& secrets, WriteAddress& address) {
  const bool hasUser = !address.user.empty() || !address.password.empty();
  if (hasUser && (secrets.userFile || secrets.tokenFile)) {
    Refuse("a user in it, --user-file and --token-file exclude each other");
  }
  if (secrets.userFile) {
    const std::string secret = ReadSecretFile(*secrets.userFile);
    const std::size_t colon = secret.find(':');
    if (colon == std::string::npos) {
      throw CommandError(*secrets.userFile, "its first line is not USER:PASSWORD");
    }
    address.user = secret.substr(0, colon);
    address.password = secret.substr(colon + 1);
  }
  if (secrets.tokenFile) {
    const std::string token = ReadSecretFile(*secrets.tokenFile);
    const char* const scheme = token.find(' ') == std::string::npos ? "Token " : "";
    address.authorization = scheme + token;
    address.mask.Add(token.substr(token.find(' ') + 1));
  }
  AddPair(address);
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
  Set(url, CURLUPART_QUERY, (rest + "precision=s").c_str());
  address.url = Get(url, CURLUPART_URL);
  address.fileName = MakeFileName(address.name);
  ReadSecrets(secrets, address);
  return address;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
