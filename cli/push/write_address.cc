#include "push/write_address.h"

#include <fstream>
#include <memory>
#include <new>
#include <sstream>

#include "error/command_error.h"
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
  return copy;
}

// Takes the parameters that are secret out of the query.
std::string TakeParameters(const std::string& query, WriteAddress& address) {
  std::istringstream parameters(query);
  std::string rest;
  for (std::string parameter; std::getline(parameters, parameter, '&');) {
    const std::string key = parameter.substr(0, parameter.find('='));
    if (key == "u") {
      address.user = Decode(parameter.substr(2));
    } else if (key == "p") {
      address.password = Decode(parameter.substr(2));
    } else if (key == "precision") {
      Refuse("the precision of the timestamps is given by the command itself");
    } else if (!parameter.empty()) {
      rest += (rest.empty() ? "" : "&") + parameter;
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
  const std::string query = TakeParameters(Get(url, CURLUPART_QUERY), address);
  Set(url, CURLUPART_QUERY, query.empty() ? nullptr : query.c_str());
  address.name = Get(url, CURLUPART_URL);
  Set(url, CURLUPART_QUERY, "precision=s", CURLU_APPENDQUERY);
  address.url = Get(url, CURLUPART_URL);
  ReadSecrets(secrets, address);
  return address;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
