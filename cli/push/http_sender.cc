#include "push/http_sender.h"

#include <nvx/workstation/printable_text.h>
#include <zlib.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>

#include "base/command_error.h"
#include "push/url_text.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr long TOO_LARGE = 413;

// The server's own words about what is wrong. Other text may be an echo of what it was sent.
std::string FindError(const HttpAnswer& answer) {
  auto json = nlohmann::json::parse(answer.text, nullptr, false);
  if (json.is_object() && json["error"].is_string()) {
    return json["error"].get<std::string>();
  }
  return "";
}

// InfluxDB has taken the other lines. Other servers drop what is older than they keep and say
// nothing.
bool HasDroppedOldOnes(const HttpAnswer& answer) {
  constexpr std::string_view DROPPED = "partial write: points beyond retention policy dropped";
  const std::string error = FindError(answer);
  return answer.status == 400 && error.compare(0, DROPPED.size(), DROPPED) == 0;
}

std::string Describe(const HttpAnswer& answer, const SecretMask& mask) {
  constexpr std::size_t LONGEST = 300;
  std::string words = Workstation::WithoutControls(mask.Hide(FindError(answer)));
  words.resize(std::min(words.size(), LONGEST));
  if (words.empty() && answer.status == 200) {
    words = "a page, not a confirmation";
  }
  const char* const colon = words.empty() ? "" : ": ";
  return "the server answers " + std::to_string(answer.status) + colon + words;
}

// The text as a gzip file.
std::string Gzip(std::string_view text) {
  constexpr int GZIP_WINDOW = 15 + 16;  // the largest window, in the form of gzip
  constexpr int MEMORY_LEVEL = 8;
  z_stream stream{};
  RequireMemory(deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, GZIP_WINDOW, MEMORY_LEVEL,
                             Z_DEFAULT_STRATEGY) == Z_OK);
  std::string compressed(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
  // zlib reads its input through a pointer that is not const.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
  stream.avail_out = static_cast<uInt>(compressed.size());
  deflate(&stream, Z_FINISH);
  compressed.resize(stream.total_out);
  deflateEnd(&stream);
  return compressed;
}

// The first whole lines that fit into the size, but at least one.
std::string_view TakeLines(std::string_view lines, std::size_t size) {
  if (lines.size() <= size) {
    return lines;
  }
  const std::size_t end = lines.rfind('\n', size - 1);
  return lines.substr(0, (end == std::string_view::npos ? lines.find('\n') : end) + 1);
}

bool IsOneLine(std::string_view lines) { return lines.find('\n') + 1 >= lines.size(); }

}  // namespace

struct HttpSender::Reply {
  bool isConfirmed = false;
  bool isPartial = false;  // confirmed, but not all lines were kept
  bool isTooLarge = false;
  bool isFinal = false;                 // the same request would be refused again
  bool isOfLines = false;               // because of the lines in it
  std::chrono::seconds wantedPause{0};  // that the server asked for
  std::string reason;
};

HttpSender::HttpSender(const WriteAddress& writeAddress, const SendOptions& sendOptions)
    : address(writeAddress), options(sendOptions), client(address, options) {}

HttpSender::Reply HttpSender::Post(const std::string& body) {
  const HttpAnswer answer = client.Post(body);
  InterruptionGuard::Check();
  TellProxy();
  Reply reply;
  if (!answer.problem.empty()) {
    reply.reason = address.mask.Hide(answer.problem);
    if (reply.reason.empty()) {
      reply.reason = "the server does not answer";
    }
    reply.isFinal = answer.isFinal;
    return reply;
  }
  // A server of pages that answers 200 to everything has stored nothing.
  reply.isPartial = HasDroppedOldOnes(answer);
  reply.isConfirmed =
      answer.status == 204 || (answer.status == 200 && answer.text.empty()) || reply.isPartial;
  reply.isTooLarge = answer.status == TOO_LARGE;
  reply.isOfLines = answer.status == 400 || answer.status == 422 || reply.isTooLarge;
  reply.isFinal = answer.status < 500 && answer.status != 429 && answer.status != 408;
  reply.wantedPause = answer.wantedPause;
  reply.reason = Describe(answer, address.mask);
  return reply;
}

void HttpSender::TellProxy() {
  const std::string variable = client.GetProxyVariable();
  if (variable.empty() || std::exchange(isProxyTold, true)) {
    return;
  }
  const bool isOpen = address.url.compare(0, 5, "http:") == 0;
  const bool isSeen = isOpen && address.HasCredentials();
  PrintMessage(address.name + ": sent over the proxy of the variable " + variable +
               (isSeen ? ", which sees the token or password" : ""));
}

// Waits before the request is repeated; throws SendError when that would be after the deadline.
void HttpSender::WaitForNext(const Reply& reply, Clock::time_point deadline,
                             std::chrono::milliseconds& pause) const {
  constexpr std::chrono::milliseconds LONGEST_PAUSE = 60s;
  const Clock::time_point now = Clock::now();
  const Clock::time_point end =
      std::max(now + reply.wantedPause, std::min<Clock::time_point>(now + pause, deadline));
  if (end > deadline) {
    throw SendError(reply.reason + "; given up, since --retry-for is " +
                        std::to_string(options.retryTime.count()) + " s",
                    StatusCode::Unavailable);
  }
  while (Clock::now() < end) {
    InterruptionGuard::Check();
    std::this_thread::sleep_for(50ms);
  }
  pause = std::min(pause * 2, LONGEST_PAUSE);
}

// False when the request is too large and can be split.
bool HttpSender::SendRequest(std::string_view lines) {
  const std::string body = Gzip(lines);
  const Clock::time_point deadline = Clock::now() + options.retryTime;
  std::chrono::milliseconds pause = 250ms;
  bool isTold = false;
  Reply reply = Post(body);
  for (; !reply.isConfirmed; reply = Post(body)) {
    if (reply.isTooLarge && !IsOneLine(lines)) {
      return false;
    }
    if (reply.isFinal) {
      throw SendError(reply.reason, StatusCode::Failure, reply.isOfLines);
    }
    if (!isTold && options.retryTime > 0s) {
      PrintMessage(address.name + ": " + reply.reason + "; trying again");
      isTold = true;
    }
    WaitForNext(reply, deadline, pause);
  }
  if (reply.isPartial && !std::exchange(isDroppingTold, true)) {
    PrintMessage(address.name + ": " + reply.reason);
  }
  byteCount += body.size();
  return true;
}

void HttpSender::Send(const std::string& lines) {
  for (std::string_view rest = lines; !rest.empty();) {
    const std::string_view part = TakeLines(rest, largestSize);
    if (SendRequest(part)) {
      rest.remove_prefix(part.size());
    } else {
      largestSize = part.size() / 2;
    }
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
