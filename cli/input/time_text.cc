#include "input/time_text.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "error/command_error.h"
#include "input/nearest_word.h"
#include "timeseries/date/date.h"
#include "timeseries/time_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr long long EARLIEST_TIME = -62135596800;  // 0001-01-01T00:00:00Z
constexpr long long LATEST_TIME = 253402300799;    // 9999-12-31T23:59:59Z

// cctz would open any path, and what else it takes for a zone has a colon in its name.
bool IsNameOfDatabase(const std::string& name) {
  constexpr char LETTERS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+-_/";
  return name.find_first_not_of(LETTERS) == std::string::npos && name.rfind('/', 0) != 0;
}

bool HasOffset(const std::string& text) {
  const std::size_t clock = text.find('T');
  return clock != std::string::npos && text.find_first_of("Z+-", clock) != std::string::npos;
}

std::optional<long long> ParseSeconds(const std::string& text) {
  long long seconds = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, seconds);
  return rest == end && error == std::errc() ? std::optional(seconds) : std::nullopt;
}

std::optional<long long> ParseIso8601(const std::string& text, const cctz::time_zone& zone) {
  long long seconds = 0;
  if (!TimeHelper::ConvertStringDateToUnixTime(text, seconds)) {
    return std::nullopt;
  }
  if (HasOffset(text)) {
    return seconds;
  }
  const cctz::time_point<cctz::seconds> read{cctz::seconds(seconds)};
  const cctz::civil_second local = cctz::convert(read, cctz::utc_time_zone());
  return cctz::convert(local, zone).time_since_epoch().count();
}

// The names of the zoneinfo database, without its copies that count leap seconds or do not.
std::vector<std::string> ListZones() {
  namespace fs = std::filesystem;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread of the program changes a variable
  const char* const given = std::getenv("TZDIR");
  const fs::path root = given == nullptr ? "/usr/share/zoneinfo" : given;
  std::vector<std::string> names;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(root, error), end; entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().lexically_relative(root);
    if (name == "posix" || name == "right") {
      entry.disable_recursion_pending();
    } else if (!entry->is_directory(error) && name.find('.') == std::string::npos) {
      names.push_back(name);
    }
  }
  return names;
}

}  // namespace

cctz::time_zone LoadZone(const std::string& name) {
  Date::Date date;
  if (!IsNameOfDatabase(name) || date.Initialize(0, name) != StatusCode::Success) {
    throw UsageError(name, "unknown time zone" + SuggestWord(name, ListZones()));
  }
  return date.timeZone;
}

long long ClampTime(long long seconds) { return std::clamp(seconds, EARLIEST_TIME, LATEST_TIME); }

std::optional<long long> ParseTime(const std::string& text, const cctz::time_zone& zone) {
  std::optional<long long> seconds = ParseSeconds(text);
  if (!seconds) {
    seconds = ParseIso8601(text, zone);
  }
  return seconds && ClampTime(*seconds) == *seconds ? seconds : std::nullopt;
}

long long ReadTime(const std::string& text, const cctz::time_zone& zone) {
  const std::optional<long long> seconds = ParseTime(text, zone);
  if (!seconds) {
    throw UsageError(text, "not a time of the years 1 to 9999");
  }
  return *seconds;
}

std::string FormatUtc(long long timestamp) {
  Date::Date date;
  date.timestamp = timestamp;
  return date.ToText();
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
