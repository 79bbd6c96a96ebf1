#include "push/http_sender.h"

#include <nvx/workstation/printable_text.h>

#include <algorithm>
#include <new>
#include <thread>
#include <utility>

#include "base/message.h"
#include "push/curl_library.h"
#include "push/gzip.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Of a server's words: more is read than shown, lest a secret that is cut is not known as one.
constexpr std::size_t MAXIMUM_READ_SIZE = 4096;
constexpr std::size_t MAXIMUM_SHOWN_SIZE = 300;
constexpr long CONNECT_SECONDS = 10;

// Keeps the beginning of an answer of any length.
std::size_t Receive(char* data, std::size_t /*one*/, std::size_t size, void* text) {
  auto& received = *static_cast<std::string*>(text);
  received.append(data,
                  std::min(size, MAXIMUM_READ_SIZE - std::min(MAXIMUM_READ_SIZE, received.size())));
  return size;
}

// Ends a request when the command is to end.
int CheckProgress(void* /*unused*/, curl_off_t /*size*/, curl_off_t /*received*/,
                  curl_off_t /*sizeSent*/, curl_off_t /*sent*/) {
  return InterruptionGuard::IsPending() ? 1 : 0;
}

// What will not become better by itself.
bool IsFinal(CURLcode code) {
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

// A server may repeat what it was sent.
void HideSecrets(const WriteAddress& address, std::string& words) {
  for (const std::string& secret : address.secrets) {
    for (std::size_t at = words.find(secret); at != std::string::npos;
         at = words.find(secret, at + 1)) {
      words.replace(at, secret.size(), "*");
    }
  }
}

// InfluxDB has taken the rest of the lines. What is older than it keeps others drop without a word.
bool HasDroppedOldOnes(long status, const std::string& answer) {
  return status == 400 &&
         answer.find("partial write: points beyond retention policy dropped") != std::string::npos;
}

}  // namespace

struct HttpSender::Reply {
  bool isConfirmed = false;
  bool isPartial = false;               // and yet not all of it was kept
  bool isFinal = false;                 // the same again will not be taken either
  bool isOfLines = false;               // and that is for what was sent
  std::chrono::seconds wantedPause{0};  // that the server asked for
  std::string reason;
};

// One connection and what all requests over it have in common.
class HttpSender::Request {
 public:
  Request(const WriteAddress& address, const SendOptions& options) : curl(library.easyInit()) {
    AddHeader("Content-Encoding: gzip");
    AddHeader("Content-Type: text/plain; charset=utf-8");
    AddHeader("Expect:");  // a server that knows it not would be waited for
    if (!address.authorization.empty()) {
      AddHeader("Authorization: " + address.authorization);
    }
    if (curl == nullptr) {
      throw std::bad_alloc();
    }
    Set(CURLOPT_URL, address.url.c_str());
    Set(CURLOPT_HTTPHEADER, headers);
    Set(CURLOPT_POST, 1L);
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_CONNECTTIMEOUT, CONNECT_SECONDS);
    Set(CURLOPT_TIMEOUT, static_cast<long>(options.timeout.count()));
    Set(CURLOPT_WRITEFUNCTION, Receive);
    Set(CURLOPT_NOPROGRESS, 0L);
    Set(CURLOPT_XFERINFOFUNCTION, CheckProgress);
    Set(CURLOPT_ERRORBUFFER, problem);
    Set(CURLOPT_USERAGENT, "nvx-timeseries");
    if (!address.user.empty() || !address.password.empty()) {
      Set(CURLOPT_USERNAME, address.user.c_str());
      Set(CURLOPT_PASSWORD, address.password.c_str());
    }
    if (options.authorityFile) {
      Set(CURLOPT_CAINFO, options.authorityFile->c_str());
    }
  }
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;
  ~Request() {
    library.easyCleanup(curl);
    library.listFree(headers);
  }

  CURLcode Perform(const std::string& body, std::string& answer) {
    problem[0] = '\0';
    Set(CURLOPT_WRITEDATA, &answer);
    Set(CURLOPT_POSTFIELDS, body.data());
    Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    return library.easyPerform(curl);
  }

  std::string GetProblem(CURLcode code) const {
    return problem[0] == '\0' ? library.easyGetErrorText(code) : problem;
  }

  long GetStatus() const {
    long status = 0;
    library.easyGetInformation(curl, CURLINFO_RESPONSE_CODE, &status);
    return status;
  }

  std::chrono::seconds GetWantedPause() const {
    curl_off_t seconds = 0;
    library.easyGetInformation(curl, CURLINFO_RETRY_AFTER, &seconds);
    constexpr curl_off_t LONGEST_PAUSE = 86400;
    return std::chrono::seconds(std::clamp(seconds, curl_off_t{0}, LONGEST_PAUSE));
  }

 private:
  template <typename Value>
  void Set(CURLoption option, Value value) {
    library.easySetOption(curl, option, value);
  }

  void AddHeader(const std::string& line) { headers = library.listAppend(headers, line.c_str()); }

  const CurlLibrary& library = CurlLibrary::Get();
  CURL* const curl;
  curl_slist* headers = nullptr;
  char problem[CURL_ERROR_SIZE] = "";
};

HttpSender::HttpSender(const WriteAddress& writeAddress, const SendOptions& sendOptions)
    : address(writeAddress),
      options(sendOptions),
      request(std::make_unique<Request>(address, options)) {}

HttpSender::~HttpSender() = default;

HttpSender::Reply HttpSender::Post(const std::string& body) {
  std::string answer;
  const CURLcode code = request->Perform(body, answer);
  InterruptionGuard::Check();
  Reply reply;
  if (code != CURLE_OK) {
    reply.reason = request->GetProblem(code);
    reply.isFinal = IsFinal(code);
    return reply;
  }
  const long status = request->GetStatus();
  // A page that answers 200 to everything has stored nothing.
  reply.isPartial = HasDroppedOldOnes(status, answer);
  reply.isConfirmed = status == 204 || (status == 200 && answer.empty()) || reply.isPartial;
  reply.isOfLines = status == 400 || status == 413 || status == 422;
  reply.isFinal = status < 500 && status != 429 && status != 408;
  reply.wantedPause = request->GetWantedPause();
  HideSecrets(address, answer);
  answer.resize(std::min(answer.size(), MAXIMUM_SHOWN_SIZE));
  answer.erase(answer.find_last_not_of("\r\n ") + 1);
  reply.reason = "the server answers " + std::to_string(status) +
                 (answer.empty() ? "" : ": " + Workstation::WithoutControls(answer));
  return reply;
}

// Waits before the same is sent again; throws SendError when that would be after the deadline.
void HttpSender::WaitForNext(const Reply& reply, Clock::time_point deadline,
                             std::chrono::milliseconds& pause) const {
  constexpr std::chrono::milliseconds LONGEST_PAUSE = 60s;
  const Clock::time_point now = Clock::now();
  const Clock::time_point end =
      std::max(now + reply.wantedPause, std::min<Clock::time_point>(now + pause, deadline));
  if (now >= deadline || end > deadline) {
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

void HttpSender::Send(const std::string& lines) {
  const std::string body = Gzip(lines);
  const Clock::time_point deadline = Clock::now() + options.retryTime;
  std::chrono::milliseconds pause = 250ms;
  bool isTold = false;
  Reply reply = Post(body);
  for (; !reply.isConfirmed; reply = Post(body)) {
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
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
