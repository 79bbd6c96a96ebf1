#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

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

struct SendOptions {
  std::chrono::seconds timeout{60};          // of one request
  std::chrono::seconds retryTime{60};        // how long a request is repeated
  std::optional<std::string> authorityFile;  // of certificates, in place of the system's
};

// Sends line protocol over HTTP, compressed.
class HttpSender {
 public:
  HttpSender(const WriteAddress& writeAddress, const SendOptions& sendOptions);
  HttpSender(const HttpSender&) = delete;
  HttpSender& operator=(const HttpSender&) = delete;
  ~HttpSender();

  // Returns when the server has confirmed the lines, of which it may have dropped what is older
  // than it keeps: the first time a message says so. Where it is away, overloaded (429) or fails
  // (5xx), the request is repeated with growing pauses. Throws SendError when the server refuses
  // the lines or the time is over, and Interrupted.
  void Send(const std::string& lines);

  // Of the confirmed requests, compressed.
  unsigned long long GetByteCount() const { return byteCount; }

 private:
  struct Reply;
  class Request;

  Reply Post(const std::string& body);
  void WaitForNext(const Reply& reply, std::chrono::steady_clock::time_point deadline,
                   std::chrono::milliseconds& pause) const;

  const WriteAddress address;
  const SendOptions options;
  std::unique_ptr<Request> request;
  unsigned long long byteCount = 0;
  bool isDroppingTold = false;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
