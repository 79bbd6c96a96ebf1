#include "push/http_client.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "push/url_text.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr long CONNECT_SECONDS = 10;

// Errors that repeating does not help.
bool IsFinalCode(CURLcode code) {
  switch (code) {
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_URL_MALFORMAT:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_OUT_OF_MEMORY:
      return true;
    default:
      return false;
  }
}

// The rest of a line after a prefix, without blanks around it; nothing for a line without it.
std::optional<std::string_view> FindValue(std::string_view line, std::string_view prefix) {
  if (line.size() < prefix.size() || strncasecmp(line.data(), prefix.data(), prefix.size()) != 0) {
    return std::nullopt;
  }
  constexpr char BLANKS[] = " \t\r\n";
  line.remove_prefix(std::min(line.size(), line.find_first_not_of(BLANKS, prefix.size())));
  return line.substr(0, line.find_last_not_of(BLANKS) + 1);
}

}  // namespace

// Only the beginning of a text is kept; the rest is not waited for.
std::size_t HttpClient::Received::AddText(const char* data, std::size_t size) noexcept {
  const std::size_t kept = std::min(size, sizeof text - textSize);
  std::memcpy(text + textSize, data, kept);
  textSize += kept;
  return kept;
}

// libcurl also accepts an answer that ends within its headers, and one with a length that is not a
// number.
void HttpClient::Received::AddHeader(std::string_view line) noexcept {
  if (line.substr(0, 5) == "HTTP/") {
    isHeaderWhole = false;
    isLengthSound = true;
    length = -1;
  } else if (line == "\r\n" || line == "\n") {
    isHeaderWhole = true;
  } else if (const auto value = FindValue(line, "Content-Length:")) {
    long long number = -1;
    const char* const end = value->data() + value->size();
    const auto [last, error] = std::from_chars(value->data(), end, number);
    isLengthSound &=
        last == end && error == std::errc() && number >= 0 && (length < 0 || length == number);
    length = number;
  }
}

void HttpClient::Received::AddNote(std::string_view note) noexcept {
  if (const auto value = FindValue(note, "Uses proxy env variable ")) {
    const std::string_view name = value->substr(0, value->find(' '));
    const std::size_t size = std::min(name.size(), sizeof proxyVariable - 1);
    std::memcpy(proxyVariable, name.data(), size);
    proxyVariable[size] = '\0';
  }
}

// An answer 204 has no text; a length shows that something is wrong.
bool HttpClient::Received::IsWhole(long status) const noexcept {
  return isHeaderWhole && isLengthSound && (status != 204 || length <= 0);
}

template <typename Value>
void HttpClient::Set(CURLoption option, Value value) {
  RequireMemory(curl_easy_setopt(handle.get(), option, value) == CURLE_OK);
}

void HttpClient::AddHeader(const std::string& line) {
  curl_slist* const longer = curl_slist_append(headers.get(), line.c_str());
  RequireMemory(longer != nullptr);
  static_cast<void>(headers.release());  // the longer list owns it
  headers.reset(longer);
}

HttpClient::HttpClient(const WriteAddress& address, const SendOptions& options)
    : handle(curl_easy_init()) {
  RequireMemory(handle != nullptr);
  AddHeader("Content-Encoding: gzip");
  AddHeader("Content-Type: text/plain; charset=utf-8");
  AddHeader("Expect:");  // the text follows at once, without 100 Continue
  if (!address.authorization.empty()) {
    AddHeader("Authorization: " + address.authorization);
  }
  Set(CURLOPT_URL, address.url.c_str());
  Set(CURLOPT_HTTPHEADER, headers.get());
  Set(CURLOPT_POST, 1L);
  Set(CURLOPT_NOSIGNAL, 1L);
  Set(CURLOPT_CONNECTTIMEOUT, CONNECT_SECONDS);
  Set(CURLOPT_TIMEOUT, static_cast<long>(options.timeout.count()));
  Set(CURLOPT_USERAGENT, "nvx-timeseries");
  if (!address.user.empty() || !address.password.empty()) {
    Set(CURLOPT_USERNAME, address.user.c_str());
    Set(CURLOPT_PASSWORD, address.password.c_str());
  }
  if (options.authorityFile) {
    Set(CURLOPT_CAINFO, options.authorityFile->c_str());
  }
  SetCallbacks();
}

void HttpClient::SetCallbacks() {
  Set(CURLOPT_ERRORBUFFER, problem);
  Set(
      CURLOPT_WRITEFUNCTION, +[](char* data, std::size_t, std::size_t size, void* target) noexcept {
        return static_cast<Received*>(target)->AddText(data, size);
      });
  Set(CURLOPT_WRITEDATA, &received);
  Set(
      CURLOPT_HEADERFUNCTION,
      +[](char* data, std::size_t, std::size_t size, void* target) noexcept {
        static_cast<Received*>(target)->AddHeader({data, size});
        return size;
      });
  Set(CURLOPT_HEADERDATA, &received);
  Set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  Set(CURLOPT_NOPROGRESS, 0L);
  // Ends a request when the command is to end.
  Set(
      CURLOPT_XFERINFOFUNCTION,
      +[](void*, curl_off_t, curl_off_t, curl_off_t, curl_off_t) noexcept {
        return InterruptionGuard::IsPending() ? 1 : 0;
      });
  // libcurl says nowhere else which proxy it uses.
  Set(CURLOPT_VERBOSE, 1L);
  Set(
      CURLOPT_DEBUGFUNCTION,
      +[](CURL*, curl_infotype type, char* data, std::size_t size, void* target) noexcept {
        if (type == CURLINFO_TEXT) {
          static_cast<Received*>(target)->AddNote({data, size});
        }
        return 0;
      });
  Set(CURLOPT_DEBUGDATA, &received);
}

HttpAnswer HttpClient::Post(const std::string& body) {
  problem[0] = '\0';
  received = Received();
  Set(CURLOPT_POSTFIELDS, body.data());
  Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  const CURLcode code = curl_easy_perform(handle.get());
  const bool isTextLong = code == CURLE_WRITE_ERROR && received.textSize == sizeof received.text;
  HttpAnswer answer;
  if (code != CURLE_OK && !isTextLong) {
    answer.problem = problem[0] == '\0' ? curl_easy_strerror(code) : problem;
    answer.isFinal = IsFinalCode(code);
    return answer;
  }
  curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &answer.status);
  if (!received.IsWhole(answer.status)) {
    answer.problem = "the server's answer is cut off or has a wrong length";
    return answer;
  }
  answer.text.assign(received.text, received.textSize);
  constexpr curl_off_t LONGEST_PAUSE = 86400;
  curl_off_t seconds = 0;
  curl_easy_getinfo(handle.get(), CURLINFO_RETRY_AFTER, &seconds);
  answer.wantedPause = std::chrono::seconds(std::clamp(seconds, curl_off_t{0}, LONGEST_PAUSE));
  return answer;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
