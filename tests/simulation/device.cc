#include "simulation/device.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <set>

#include "timeseries/calendar.h"

namespace nvx::TimeSeriesDatabase::Simulation {
namespace {

constexpr long long HOUR = 3600;
constexpr long long DAY = 86400;
constexpr long long YEAR = 31556952;

const std::vector<std::string> ZONES = {"UTC",
                                        "Europe/Berlin",
                                        "America/New_York",
                                        "Australia/Lord_Howe",
                                        "America/St_Johns",
                                        "Pacific/Apia",
                                        "Asia/Kathmandu",
                                        "America/Sao_Paulo",
                                        "Antarctica/Troll",
                                        "Asia/Tehran"};

const CalendarInterval INTERVALS[] = {
    {CalendarUnit::Hour, 2},
    {CalendarUnit::Hour, 6},
    {CalendarUnit::Day, 1},
    {CalendarUnit::Day, 2},
    {CalendarUnit::Day, 1, 6 * 3600 + 1800},
    {CalendarUnit::Week, 1},
    {CalendarUnit::Week, 2, 0, WeekStart::Sunday},
    {CalendarUnit::Month, 1},
    {CalendarUnit::Quarter, 1},
    {CalendarUnit::Year, 1},
};

}  // namespace

const Device::Event Device::EVENTS[] = {
    {"clock steps", 5, &Device::StepClock},
    {"changes of the zone", 2, &Device::ChangeZone},
    {"exchanged files", 2, &Device::Exchange},
    {"migrations", 4, &Device::Migrate},
    {"conversions", 2, &Device::Convert},
    {"pushes", 8, &Device::Push},
    {"kills", 14, &Device::Kill},
    {"kills before a restored backup", 3, &Device::KillAndRestore},
    {"power cuts", 14, &Device::LosePower},
    {"full disks", 8, &Device::FillDisk},
    {"locks that stay", 8, &Device::HoldLock},
    {"damaged files", 6, &Device::Damage},
};

Device::Device(unsigned long seed, Figures& lifeFigures)
    : random(seed), figures(lifeFigures), clock(random.Between(32 * YEAR, 50 * YEAR)) {
  std::filesystem::create_directory(files);
  sources.resize(static_cast<std::size_t>(random.Between(5, random.Between(5, 50))));
  for (Source& source : sources) {
    source.id = "topo:S" + std::to_string(&source - sources.data());
    Expect(database.GetPathToRrdFile(source.id, source.path) == StatusCode::Success, source.id);
    source.durability = random.Between(0, 1) == 0 ? Durability::Process : Durability::Power;
    source.period = random.Pick(std::vector<long long>{1800, 3600, 7200, 7200, 10800, 21600});
    source.isOffStep = random.Between(0, 2) == 0;
    Model& model = source.model;
    model.step = source.period;
    model.rowCount = random.Pick(std::vector<long long>{60, 250, 1000, 3000});
    model.last = clock - clock % model.step;
    model.minimum = random.Between(0, 3) == 0 ? -50 : MISSING;
    Expect(client.Create(source.path, model.step, model.last, model.minimum, model.maximum,
                         static_cast<unsigned int>(model.rowCount)) == StatusCode::Success,
           source.id + " was not created");
    Backup(source);
  }
}

long long Device::Live() {
  int weights = 0;
  for (const Event& event : EVENTS) {
    weights += event.weight;
  }
  const long long end = random.Between(YEAR, 3 * YEAR);
  while (age < end) {
    Advance();
    long long lot = random.Between(1, weights);
    const Event* event = EVENTS;
    for (; lot > event->weight; ++event) {
      lot -= event->weight;
    }
    ++figures[event->name];
    (this->*event->happen)(PickSource());
    for (int i = 0; i < 6; ++i) {
      Query(PickSource());
    }
    std::set<std::string> ids;
    Expect(database.ListDataSources(ids) == StatusCode::Success && ids.size() == sources.size(),
           "the list of data sources is another");
  }
  std::for_each(sources.begin(), sources.end(), [this](const Source& source) { Audit(source); });
  return age;
}

void Device::Expect(bool isTrue, const std::string& what) const {
  if (!isTrue) {
    throw Difference("day " + std::to_string(age / DAY) + ": " + what +
                     " (the last failure: " + Failure::GetReason() + ")");
  }
}

Device::Source& Device::PickSource() { return sources[random.Below(sources.size())]; }

// Some days pass.
void Device::Advance() {
  const long long span = random.Between(6 * HOUR, 20 * DAY);
  for (Source& source : sources) {
    TakeSamples(source, clock, clock + span);
    if (random.Between(0, 9) < 7) {
      Store(source);
    }
    if (random.Between(0, 9) == 0) {
      Backup(source);
    }
  }
  age += span;
  clock += span;
}

// What a service measures from one reading of the clock to another.
void Device::TakeSamples(Source& source, long long from, long long to) {
  if (random.Between(0, 19) == 0) {  // it was down
    from = random.Between(from, to);
  }
  for (long long time = from - from % source.period + source.period; time <= to;
       time += source.period) {
    const long long kind = random.Between(0, 99);
    source.value = std::clamp(source.value + static_cast<double>(kind - 49) / 8, -80.0, 80.0);
    if (kind < 97) {
      const long long delay = source.isOffStep ? random.Between(0, source.period / 2) : 0;
      source.waiting[time + delay] = kind < 95 ? source.value : MISSING;
    }
  }
}

// A service stores what it has, or a part of it.
void Device::Store(Source& source) {
  if (source.waiting.empty() || StoreLate(source)) {
    return;
  }
  Samples batch = source.waiting;
  if (random.Between(0, 3) == 0) {
    batch.erase(
        std::next(batch.begin(), static_cast<std::ptrdiff_t>(random.Below(batch.size())) + 1),
        batch.end());
  }
  Expect(client.UpdateAtomically(source.path, batch, source.durability) == StatusCode::Success,
         source.id + ": a batch was refused");
  source.model.Store(batch);
  source.waiting.erase(source.waiting.begin(), source.waiting.upper_bound(batch.rbegin()->first));
  ++figures["batches"];
  figures["samples"] += static_cast<long long>(batch.size());
}

// A batch with a sample that is late is refused as a whole; then the service drops what is late.
// Whether nothing remains.
bool Device::StoreLate(Source& source) {
  if (random.Between(0, 19) == 0) {
    source.waiting[source.model.last - random.Between(0, 2) * source.period] = 1;
  }
  if (source.waiting.begin()->first > source.model.last) {
    return false;
  }
  Expect(client.UpdateAtomically(source.path, source.waiting, source.durability) ==
             StatusCode::Failure,
         source.id + ": a late batch was taken");
  ++figures["late batches"];
  Audit(source);
  source.waiting.erase(source.waiting.begin(), source.waiting.upper_bound(source.model.last));
  return source.waiting.empty();
}

// Compares all of a file.
void Device::Audit(const Source& source) {
  const Model& model = source.model;
  const long long start = model.GetOldest() - model.step;
  long long last = 0;
  Rrd::FetchResult result;
  Expect(client.GetLastTimestamp(source.path, last) == StatusCode::Success && last == model.last,
         source.id + ": the last update is " + std::to_string(last) + " and not " +
             std::to_string(model.last));
  Expect(client.Fetch(source.path, start, model.GetNewest() + model.step, result) ==
                 StatusCode::Success &&
             result.GetStartTime() == start && result.GetSampleCount() == model.rowCount + 2,
         source.id + ": other rows were fetched");
  for (unsigned int i = 0; i < result.GetSampleCount(); ++i) {
    const long long time = start + i * model.step;
    const auto row = model.rows.find(time);
    const double expected = row == model.rows.end() ? MISSING : row->second;
    const double value = result.GetData()[i];
    Expect(value == expected || (std::isnan(value) && std::isnan(expected)),
           source.id + ": the row of " + std::to_string(time) + " is " + std::to_string(value) +
               " and not " + std::to_string(expected));
  }
  ++figures["audits"];
  figures["rows compared"] += result.GetSampleCount();
}

// Each is made once in a program.
const LocalCalendar& Device::GetCalendar() const {
  static std::map<std::string, LocalCalendar> calendars;
  return calendars.try_emplace(zone, zone).first->second;
}

// Of a window that may reach out of the file.
void Device::Query(const Source& source) {
  const Model& model = source.model;
  const LocalCalendar& calendar = GetCalendar();
  const PlainQuery plain(model.rows, model.step, zone, calendar);
  const Function& function = random.Pick(FUNCTIONS);
  const CalendarInterval& interval = random.Pick(INTERVALS);
  const long long from = random.Between(model.GetOldest() - 2 * DAY, model.last);
  const long long to = from + random.Between(1, 40) * random.Pick(std::vector{3 * HOUR, 9 * DAY});
  const std::vector<long long> times = calendar.ListBounds(interval, from, to);
  if (times.front() >= times.back()) {
    return;
  }
  const std::string what = source.id + ", " + function.name + " from " +
                           std::to_string(times.front()) + " to " + std::to_string(times.back()) +
                           " in " + zone + ": ";
  TimeWindow window = Window(times.front(), times.back(), zone);
  Expect(Calendar::AdjustTimeWindow(interval, window) == StatusCode::Success &&
             window.start.timestamp == times.front() && window.end.timestamp == times.back(),
         what + "another window");
  std::unique_ptr<Rrd::NumericalDataSource> reader;
  Expect(database.GetNumericalDataSource(source.id, reader) == StatusCode::Success, source.id);
  Points expected;
  Points points;
  std::vector<Date::Date> bounds;
  Expect(Calendar::ListBounds(interval, window, bounds) == StatusCode::Success &&
             bounds.size() == times.size(),
         what + "other bounds");
  Expect(reader->Fetch(bounds, function.compute, points) ==
             plain.ExpectRuns(times, function.reduce, expected),
         what + "another status");
  Expect(PlainQuery::AreSame(points, expected), what + "other points");
  ++figures["queries"];
  figures["points compared"] += static_cast<long long>(points.size());
}

void Device::StepClock(Source& /*source*/) {
  const long long most = random.Pick(std::vector<long long>{90, 2 * HOUR, 3 * DAY, 20 * DAY});
  clock += random.Between(-most, most);
}

void Device::ChangeZone(Source& /*source*/) { zone = random.Pick(ZONES); }

}  // namespace nvx::TimeSeriesDatabase::Simulation
