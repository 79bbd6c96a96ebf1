#include "arguments/time_expression.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <optional>

#include "arguments/nearest_word.h"
#include "base/command_error.h"
#include "base/time_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char LETTERS[] = "abcdefghijklmnopqrstuvwxyz";
constexpr char LETTERS_AND_HYPHEN[] = "abcdefghijklmnopqrstuvwxyz-";

// Of RRDtool, whose offsets from the present need no word.
constexpr char NOW_OF_RRDTOOL = 'N';

// The same TIME with a word where RRDtool has none.
std::string AddWord(const std::string& text) {
  if (!text.empty() && text.front() == NOW_OF_RRDTOOL && text.find_first_of(LETTERS, 1) != 1) {
    return "now" + text.substr(1);
  }
  const bool isOffset = !text.empty() && (text.front() == '-' || text.front() == '+');
  return isOffset ? "now" + text : text;
}

// A day or a longer period that has begun, or one before that.
struct Period {
  const char* word;
  CalendarUnit unit;
  int before;
};

constexpr Period PERIODS[] = {
    {"today", CalendarUnit::Day, 0},
    {"yesterday", CalendarUnit::Day, 1},
    {"this-week", CalendarUnit::Week, 0},
    {"last-week", CalendarUnit::Week, 1},
    {"this-month", CalendarUnit::Month, 0},
    {"last-month", CalendarUnit::Month, 1},
    {"this-quarter", CalendarUnit::Quarter, 0},
    {"last-quarter", CalendarUnit::Quarter, 1},
    {"this-year", CalendarUnit::Year, 0},
    {"last-year", CalendarUnit::Year, 1},
};

std::vector<std::string> ListWords() {
  std::vector<std::string> words = {"now", "first", "last", "end"};
  for (const Period& period : PERIODS) {
    words.emplace_back(period.word);
  }
  return words;
}

// The word that a text begins with, which may itself begin with another one; empty for a text
// without a word.
std::string FindWord(const std::string& text) {
  const std::size_t end = std::min(text.find_first_not_of(LETTERS), text.size());
  for (const Period& period : PERIODS) {
    std::string word = period.word;
    if (word.size() > end && text.compare(0, word.size(), word) == 0 &&
        text.find_first_of(LETTERS, word.size()) != word.size()) {
      return word;
    }
  }
  return text.substr(0, end);
}

long long GetNow() {
  static const long long now = std::time(nullptr);
  return now;
}

bool IsWeek53(const std::string& text) {
  constexpr std::size_t YEAR_SIZE = 4;
  return text.find_first_not_of("0123456789") == YEAR_SIZE && text.substr(YEAR_SIZE) == "-W53";
}

std::string RemoveBlanks(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
  return text;
}

}  // namespace

TimeExpression::TimeExpression(const std::string& timeText, const cctz::time_zone& timeZone,
                               const CalendarInterval& starts)
    : text(timeText), zone(timeZone), calendar(starts) {
  const std::string whole = AddWord(text);
  word = FindWord(whole);
  if (word.empty()) {
    const std::optional<long long> written = ParseTime(text, zone, calendar.dayStart);
    if (!written) {
      Refuse(IsWeek53(text) ? "; " + text.substr(0, text.find('-')) + " has only 52 weeks" : "");
    }
    writtenTime = *written;
    return;
  }
  const std::vector<std::string> words = ListWords();
  if (std::find(words.begin(), words.end(), word) == words.end()) {
    const std::string typed = whole.substr(0, whole.find_first_not_of(LETTERS_AND_HYPHEN));
    Refuse(SuggestWord(typed, words));
  }
  const std::string rest = RemoveBlanks(whole.substr(word.size()));
  for (std::size_t begin = 0; begin < rest.size();) {
    const std::size_t end = std::min(rest.find_first_of("+-", begin + 1), rest.size());
    offsets.push_back(ReadOffset(std::string_view(rest).substr(begin, end - begin)));
    begin = end;
  }
}

TimeExpression::Offset TimeExpression::ReadOffset(std::string_view offsetText) const {
  struct UnitName {
    std::string_view text;
    long long count;
    Unit unit;
  };
  constexpr UnitName UNITS[] = {
      {"s", 1, Unit::Second},    {"m", 60, Unit::Second}, {"min", 60, Unit::Second},
      {"h", 3600, Unit::Second}, {"d", 1, Unit::Day},     {"w", 7, Unit::Day},
      {"mo", 1, Unit::Month},    {"q", 3, Unit::Month},   {"y", 12, Unit::Month},
  };
  constexpr long long GREATEST_NUMBER = 1'000'000'000'000;  // more seconds than in 9999 years
  long long number = -1;
  const char* const end = offsetText.data() + offsetText.size();
  const char* const digits = offsetText.data() + 1;
  const auto [rest, error] = std::from_chars(digits, end, number);
  const std::string_view unitText(rest, static_cast<std::size_t>(end - rest));
  const auto* const unit = std::find_if(std::begin(UNITS), std::end(UNITS),
                                        [&](const auto& known) { return known.text == unitText; });
  const bool isSigned = offsetText[0] == '+' || offsetText[0] == '-';
  if (!isSigned || number < 0 || number > GREATEST_NUMBER || unit == std::end(UNITS)) {
    throw UsageError(text, "'" + std::string(offsetText) +
                               "' is no offset such as -24h; the units are s, m or min, h, d, w, "
                               "mo, q and y");
  }
  return {(offsetText[0] == '-' ? -number : number) * unit->count, unit->unit};
}

bool TimeExpression::IsOfFile() const { return word == "first" || word == "last" || word == "end"; }

bool TimeExpression::IsOfWeek() const { return word == "this-week" || word == "last-week"; }

long long TimeExpression::Resolve(const FileTimes& file) const {
  if (word.empty()) {
    return writtenTime;
  }
  Moment moment = FindOrigin(file);
  for (const Offset& offset : offsets) {
    moment = Move(moment, offset);
    if (ClampTime(moment.timestamp) != moment.timestamp) {
      const std::string problem = "not in the years 1 to 9999";
      if (IsOfFile()) {
        throw CommandError(text, problem, StatusCode::OutOfRange);
      }
      throw UsageError(text, problem);
    }
  }
  return moment.timestamp;
}

TimeExpression::Moment TimeExpression::FindOrigin(const FileTimes& file) const {
  if (IsOfFile()) {
    const bool isEnd = word == "end" && file.windowEnd;
    return MakeMoment(isEnd             ? *file.windowEnd
                      : word == "first" ? file.findFirst()
                                        : file.findLast());
  }
  const Moment now = MakeMoment(GetNow());
  if (word == "now") {
    return now;
  }
  // Its local time, of which days are counted even if the clocks skip it.
  return MakeMoment(FindBegin(now.local));
}

cctz::civil_second TimeExpression::FindBegin(const cctz::civil_second& now) const {
  constexpr cctz::diff_t DAYS_PER_WEEK = 7;
  constexpr cctz::diff_t MONTHS_PER_QUARTER = 3;
  const auto* const period = std::find_if(std::begin(PERIODS), std::end(PERIODS),
                                          [this](const auto& known) { return known.word == word; });
  const int before = period->before;
  const cctz::civil_day today(now - calendar.dayStart);
  const cctz::civil_month month(today);
  cctz::civil_day first = today;
  switch (period->unit) {
    case CalendarUnit::Week: {
      const bool isOfSunday = calendar.weekStart == WeekStart::Sunday;
      const auto start = isOfSunday ? cctz::weekday::sunday : cctz::weekday::monday;
      first = cctz::prev_weekday(today + 1, start) - before * DAYS_PER_WEEK;
      break;
    }
    case CalendarUnit::Month:
      first = cctz::civil_day(month - before);
      break;
    case CalendarUnit::Quarter:
      first = cctz::civil_day(month - (month.month() - 1) % MONTHS_PER_QUARTER -
                              before * MONTHS_PER_QUARTER);
      break;
    case CalendarUnit::Year:
      first = cctz::civil_day(cctz::civil_year(today) - before);
      break;
    default:
      first = today - before;
  }
  return cctz::civil_second(first) + calendar.dayStart;
}

TimeExpression::Moment TimeExpression::MakeMoment(long long timestamp) const {
  const cctz::time_point<cctz::seconds> instant{cctz::seconds(timestamp)};
  return {timestamp, cctz::convert(instant, zone)};
}

TimeExpression::Moment TimeExpression::MakeMoment(const cctz::civil_second& local) const {
  return {cctz::convert(local, zone).time_since_epoch().count(), local};
}

TimeExpression::Moment TimeExpression::Move(const Moment& moment, const Offset& offset) const {
  if (offset.unit == Unit::Second) {
    return MakeMoment(moment.timestamp + offset.number);
  }
  const cctz::civil_second& local = moment.local;
  cctz::civil_day day(local);
  if (offset.unit == Unit::Day) {
    day += offset.number;
  } else {
    const cctz::civil_month month = cctz::civil_month(local) + offset.number;
    const cctz::civil_day lastOfMonth = cctz::civil_day(month + 1) - 1;
    day = std::min(cctz::civil_day(month) + (local.day() - 1), lastOfMonth);
  }
  return MakeMoment(cctz::civil_second(day.year(), day.month(), day.day(), local.hour(),
                                       local.minute(), local.second()));
}

void TimeExpression::Refuse(const std::string& note) const {
  throw UsageError(text,
                   "not a time of the years 1 to 9999, such as 2021-03-28, 2021-03-28T01:00Z, "
                   "2021-03, 2021-W07, 2021-Q2, 2021, 1616893200, @0, now-24h, today or last-7d" +
                       note);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
