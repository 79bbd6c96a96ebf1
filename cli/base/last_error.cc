#include "base/last_error.h"

#include <algorithm>
#include <string_view>

#include "timeseries/host.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The text behind "[thread][component] Operation: ", without the error of a read or a write that
// was merely too short.
std::string GetText(const std::string& line) {
  constexpr std::string_view NO_ERROR = ": Success";
  const std::size_t operation = line.find("] ");
  const std::size_t begin = line.find(": ", operation) + 2;
  const std::size_t noError = line.rfind(NO_ERROR);
  const bool isNoError = noError != std::string::npos && noError + NO_ERROR.size() == line.size();
  return line.substr(begin, isNoError ? noError - begin : std::string::npos);
}

}  // namespace

LastError::LastError()
    : redirection(std::max(Log::RootLogger::GetInstance().GetLevel(), KoraLogLevel::Error),
                  [this](KoraLogLevel level, const std::string& line) {
                    if (level == KoraLogLevel::Error) {
                      message = GetText(line);
                    } else {
                      redirection.GetFormer()(level, line);
                    }
                  }) {}

std::string LastError::GetReason() const {
  constexpr std::string_view BEFORE[] = {"rrd error :[", "error ["};
  constexpr std::string_view BEHIND[] = {"], file path [", "],Time window "};
  for (const std::string_view before : BEFORE) {
    const std::size_t position = message.find(before);
    if (position != std::string::npos) {
      const std::string reason = message.substr(position + before.size());
      return reason.substr(
          0, std::min({reason.find(BEHIND[0]), reason.find(BEHIND[1]), reason.rfind(']')}));
    }
  }
  return message;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
