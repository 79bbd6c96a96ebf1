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

// Why a server did not take what was sent. No secret is in it.
class SendError : public std::runtime_error {
 public:
  SendError(const std::string& reason, StatusCode errorStatus, bool isOfLines = false)
      : std::runtime_error(reason), status(errorStatus), isLinesRefused(isOfLines) {}

  StatusCode GetStatus() const { return status; }

  // Whether the server has found fault with the lines; others may still be taken.
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

  // Returns when the server has confirmed the lines, of which it may have dropped what is older
  // than it keeps: the first time a message says so. Where it is away, overloaded (429) or fails
  // (5xx), the request is repeated with growing pauses; where it takes no request of that size
  // (413), the lines are sent in several. Throws SendError when the server refuses the lines or
  // the time is over, and Interrupted.
  void Send(const std::string& lines);

  // The size of a request that the server has not refused, in bytes of lines.
  std::size_t GetLargestSize() const { return largestSize; }

  // Of the confirmed requests, compressed.
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
