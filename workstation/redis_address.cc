#include "nvx/workstation/redis_address.h"

#include <sys/un.h>

#include <charconv>
#include <string_view>

namespace nvx::Workstation {
namespace {

using nv::kora::StatusCode;

constexpr std::string_view REDIS_SCHEME = "redis://";
constexpr std::string_view UNIX_SCHEME = "unix://";
constexpr int LAST_PORT = 65535;
constexpr int LAST_DATABASE = 9999;

bool TakePrefix(std::string_view prefix, std::string_view& text) {
  if (text.substr(0, prefix.size()) != prefix) {
    return false;
  }
  text.remove_prefix(prefix.size());
  return true;
}

template <typename Number>
bool ReadNumber(std::string_view text, int base, Number& number) {
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, number, base);
  return result.ec == std::errc() && result.ptr == end;
}

bool ReadNumber(std::string_view text, int first, int last, int& number) {
  return ReadNumber(text, 10, number) && number >= first && number <= last;
}

bool Decode(std::string_view text, std::string& decoded) {
  decoded.clear();
  while (!text.empty()) {
    if (text.front() != '%') {
      decoded += text.front();
      text.remove_prefix(1);
      continue;
    }
    unsigned char byte = 0;
    if (text.size() < 3 || !ReadNumber(text.substr(1, 2), 16, byte) || byte == 0) {
      return false;
    }
    decoded += static_cast<char>(byte);
    text.remove_prefix(3);
  }
  return true;
}

// Each of these returns what is wrong, or nullptr.

// Takes "[:PASSWORD@]". A password that was not encoded may contain "/" or "@"; the last "@" ends
// it, so that no part of it is taken for the host.
const char* TakePassword(std::string_view& rest, std::string& password) {
  const std::size_t end = rest.front() == '/' ? std::string_view::npos : rest.rfind('@');
  if (end == std::string_view::npos) {
    return nullptr;
  }
  const std::string_view user = rest.substr(0, end);
  rest.remove_prefix(end + 1);
  if (user.empty() || user.front() != ':') {
    return "a user is not supported; a password stands between ':' and '@'";
  }
  return Decode(user.substr(1), password) ? nullptr
                                          : "'%' in the password does not begin an encoded byte";
}

const char* ReadServer(std::string_view rest, RedisAddress& address) {
  const std::size_t slash = rest.find('/');
  if (slash != std::string_view::npos) {
    if (!ReadNumber(rest.substr(slash + 1), 0, LAST_DATABASE, address.database)) {
      return "behind the port, '/' and the number of a database are expected";
    }
    rest = rest.substr(0, slash);
  }
  const std::size_t colon = rest.rfind(':');
  if (colon == std::string_view::npos ||
      !ReadNumber(rest.substr(colon + 1), 1, LAST_PORT, address.port)) {
    return "HOST:PORT is expected, with a port from 1 to 65535";
  }
  std::string_view host = rest.substr(0, colon);
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
    host = host.substr(1, host.size() - 2);
  } else if (host.empty() || host.find(':') != std::string_view::npos) {
    return "HOST:PORT is expected, an IPv6 address in brackets";
  }
  address.host = host;
  return nullptr;
}

const char* ReadPath(std::string_view path, RedisAddress& address) {
  if (path.size() < 2 || path.front() != '/' || !Decode(path, address.socketPath)) {
    return "the absolute path of a socket is expected, '%' written as %25";
  }
  return address.socketPath.size() < sizeof(sockaddr_un::sun_path)
             ? nullptr
             : "the path is longer than that of a socket can be";
}

const char* ReadUrl(std::string_view rest, RedisAddress& address) {
  const bool isServer = TakePrefix(REDIS_SCHEME, rest);
  if ((!isServer && !TakePrefix(UNIX_SCHEME, rest)) || rest.empty()) {
    return "redis://[:PASSWORD@]HOST:PORT[/DB] or unix:///PATH is expected";
  }
  if (const char* const mistake = TakePassword(rest, address.password)) {
    return mistake;
  }
  return isServer ? ReadServer(rest, address) : ReadPath(rest, address);
}

}  // namespace

StatusCode RedisAddress::Parse(const std::string& url, RedisAddress& address,
                               std::string& problem) {
  RedisAddress read;
  if (const char* const mistake = ReadUrl(url, read)) {
    problem = mistake;
    return StatusCode::InvalidArgument;
  }
  address = read;
  return StatusCode::Success;
}

std::string RedisAddress::ToText() const {
  if (!socketPath.empty()) {
    return std::string(UNIX_SCHEME) + socketPath;
  }
  const bool isIpv6 = host.find(':') != std::string::npos;
  return std::string(REDIS_SCHEME) + (isIpv6 ? "[" + host + "]" : host) + ":" +
         std::to_string(port) + (database == 0 ? "" : "/" + std::to_string(database));
}

}  // namespace nvx::Workstation
