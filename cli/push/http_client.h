#pragma once

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "push/write_address.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

struct SendOptions {
  std::chrono::seconds timeout{60};          // of one request
  std::chrono::seconds retryTime{60};        // how long a request is repeated
  std::optional<std::string> authorityFile;  // of certificates, in place of the system's
};

// The outcome of a request.
struct HttpAnswer {
  std::string problem;                  // why there is no whole answer; empty for one
  bool isFinal = false;                 // repeating the request does not help
  long status = 0;                      // of a whole answer
  std::string text;                     // of a whole answer, its beginning
  std::chrono::seconds wantedPause{0};  // that the server asked for
};

// A connection to a server, with the headers and options of all its requests.
class HttpClient {
 public:
  HttpClient(const WriteAddress& address, const SendOptions& options);
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  // Posts a body that is compressed with gzip.
  HttpAnswer Post(const std::string& body);

  // The variable of the environment that named the proxy in use; empty for none.
  std::string GetProxyVariable() const { return received.proxyVariable; }

 private:
  static constexpr std::size_t LONGEST_TEXT = 4096;
  static constexpr std::size_t LONGEST_NAME = 32;

  // Receives what libcurl reports. Its functions are called from C and never throw.
  struct Received {
    std::size_t AddText(const char* data, std::size_t size) noexcept;
    void AddHeader(std::string_view line) noexcept;
    void AddNote(std::string_view note) noexcept;
    bool IsWhole(long status) const noexcept;

    char text[LONGEST_TEXT] = "";
    std::size_t textSize = 0;
    bool isHeaderWhole = false;
    bool isLengthSound = true;
    long long length = -1;  // of the text, from a header; -1 without one
    char proxyVariable[LONGEST_NAME] = "";
  };

  struct Free {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };

  template <typename Value>
  void Set(CURLoption option, Value value);
  void SetCallbacks();
  void AddHeader(const std::string& line);

  std::unique_ptr<CURL, Free> handle;
  std::unique_ptr<curl_slist, Free> headers;
  Received received;
  char problem[CURL_ERROR_SIZE] = "";
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
