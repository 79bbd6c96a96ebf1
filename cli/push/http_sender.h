#pragma once

#include <chrono>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

#include "push/http_client.h"
#include "push/write_address.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Why a server did not take what was sent. It contains no secret.
class SendError : public std::runtime_error {
 public:
  SendError(const std::string& reason, StatusCode errorStatus, bool isOfLines = false)
      : std::runtime_error(reason), status(errorStatus), isLinesRefused(isOfLines) {}

  StatusCode GetStatus() const { return status; }

  // Whether the server refused these lines; it may still take others.
  bool IsOfLines() const { return isLinesRefused; }

 private:
  StatusCode status;
  bool isLinesRefused;
};

// Sends line protocol over HTTP, compressed.
class HttpSender {
 public:
  HttpSender(const WriteAddress& writeAddress, const SendOptions& sendOptions);
  HttpSender(const HttpSender&) = delete;
  HttpSender& operator=(const HttpSender&) = delete;

  // Returns when the server has confirmed the lines. It may have dropped points that are older than
  // it keeps; a message says so the first time. While the server is away, overloaded (429) or
  // failing (5xx), the request is repeated with growing pauses; when it is too large (413), it is
  // split. Throws SendError when the server refuses the lines or the time is over, and Interrupted.
  void Send(const std::string& lines);

  // The largest size of a request that the server may take, in bytes of lines.
  std::size_t GetLargestSize() const { return largestSize; }

  // The compressed bytes of all confirmed requests.
  unsigned long long GetByteCount() const { return byteCount; }

 private:
  struct Reply;

  bool SendRequest(std::string_view lines);
  Reply Post(const std::string& body);
  void TellProxy();
  void WaitForNext(const Reply& reply, std::chrono::steady_clock::time_point deadline,
                   std::chrono::milliseconds& pause) const;

  const WriteAddress address;
  const SendOptions options;
  HttpClient client;
  std::size_t largestSize = std::numeric_limits<std::size_t>::max();
  unsigned long long byteCount = 0;
  bool isProxyTold = false;
  bool isDroppingTold = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
