#include "time/civil.h"
#include "timeseries/date/date.h"

namespace nvx::TimeSeriesDatabase::Date {
namespace {

// The seconds of local time since the last multiple of `minutes` in its hour.
long long SecondsPastMultiple(const cctz::civil_second& local, unsigned int minutes) {
  return local.second() +
         static_cast<long long>(static_cast<unsigned int>(local.minute()) % minutes) * 60;
}

void MoveTo(const cctz::civil_second& local, Date& date) {
  date.timestamp = ToTimestamp(local, date.timeZone);
}

}  // namespace

bool Date::IsFirstHourOfDay(const Date& date) {
  const cctz::civil_second local = ToLocal(date);
  Date start = date;
  RoundDownTimeToDay(start);
  const cctz::civil_second first = ToLocal(start);
  return first.hour() == local.hour() && first.minute() == local.minute();
}

void Date::RoundDownTimeToMinute(Date& date, unsigned int minutes) {
  if (minutes != 0) {
    date.timestamp = AddSeconds(date.timestamp, -SecondsPastMultiple(ToLocal(date), minutes));
  }
}

void Date::RoundUpTimeToMinute(Date& date, unsigned int minutes) {
  if (minutes == 0) {
    return;
  }
  const long long past = SecondsPastMultiple(ToLocal(date), minutes);
  if (past != 0) {
    date.timestamp = AddSeconds(date.timestamp, static_cast<long long>(minutes) * 60 - past);
  }
}

void Date::RoundDownTimeToHour(Date& date) {
  MoveTo(cctz::civil_second(cctz::civil_hour(ToLocal(date))), date);
}

void Date::RoundUpTimeToHour(Date& date) {
  const cctz::civil_second local = ToLocal(date);
  if (local.minute() != 0 || local.second() != 0) {
    MoveTo(cctz::civil_second(cctz::civil_hour(local) + 1), date);
  }
}

void Date::RoundDownTimeToDay(Date& date) {
  MoveTo(cctz::civil_second(cctz::civil_day(ToLocal(date))), date);
}

void Date::RoundUpTimeToDay(Date& date) {
  const cctz::civil_second local = ToLocal(date);
  const bool isMidnight = local.hour() == 0 && local.minute() == 0;
  if (local.second() == 0 && (isMidnight || IsFirstHourOfDay(date))) {
    return;
  }
  MoveTo(cctz::civil_second(cctz::civil_day(local) + 1), date);
}

void Date::RoundDownTimeToMonth(Date& date) {
  MoveTo(cctz::civil_second(cctz::civil_month(ToLocal(date))), date);
}

void Date::RoundUpTimeToMonth(Date& date) {
  const cctz::civil_second local = ToLocal(date);
  const cctz::civil_month month(local);
  if (local != month) {
    MoveTo(cctz::civil_second(month + 1), date);
  }
}

}  // namespace nvx::TimeSeriesDatabase::Date
