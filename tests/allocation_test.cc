// Each allocation of each operation fails in turn. Neither memory nor descriptors leak, and the
// file is as before the operation or as after it.

#include <gtest/gtest.h>

#include <algorithm>
#include <new>

#include "nvx/workstation/in_memory_redis_client.h"
#include "support/faulty_file.h"
#include "support/files.h"
#include "support/leaks_of_librrd.h"
#include "support/limited_memory.h"
#include "timeseries/calendar.h"
#include "timeseries/data_functions.h"
#include "timeseries/rrd/database.h"
#include "timeseries/rrd/tool/layout_converter.h"
#include "timeseries/rrd/tool/sanitizer.h"
#include "timeseries/time_window_helper.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

class AllocationFailure : public FaultyFile {
 protected:
  AllocationFailure() {
    EXPECT_EQ(window.start.Initialize(START, "Europe/Paris"), StatusCode::Success);
    EXPECT_EQ(window.end.Initialize(END, "Europe/Paris"), StatusCode::Success);
    // Lines of the log allocate, too.
    logger.SetDestination([](KoraLogLevel, const std::string&) {});
    logger.SetLevel(KoraLogLevel::Trace);
  }
  ~AllocationFailure() override {
    logger.SetLevel(KoraLogLevel::Error);
    logger.SetDestination({});
  }

  void FailEach(const std::string& name, const Operation& operation,
                StatusCode expected = StatusCode::Success) const {
    SCOPED_TRACE(name);
    const auto run = [&](int call) {
      const long held = LimitedMemory::held;
      LimitedMemory::granted = call - 1;
      StatusCode status = StatusCode::OutOfMemory;
      try {
        status = operation();
      } catch (const std::bad_alloc&) {
      }
      const bool hasFailed = LimitedMemory::granted < 0;
      LimitedMemory::granted = LimitedMemory::ALL;
      EXPECT_EQ(LimitedMemory::held, held) << "memory";
      return std::pair(status, hasFailed);
    };
    FailEachCall([this] { MakeFile(); }, operation, expected, run);
  }

  nvx::Log::RootLogger& logger = nvx::Log::RootLogger::GetInstance();
  const std::string id = "topo:TemperatureOfBoiler";
  TimeWindow window;
};

TEST_F(AllocationFailure, InRrdClient) {
  const std::string missing = directory.GetPath("a file that is not there.rrd");
  const std::string made = directory.GetPath("a file that is made.rrd");
  const std::string cut = directory.GetPath("a file that is cut off.rrd");
  WriteFile(cut, std::string("RRD\0000003", 8));
  for (const std::string& source : {path, missing, cut}) {
    for (const auto& [name, read] : ListReads(source)) {
      FailEach(name + ' ' + source, read,
               source == path                                     ? StatusCode::Success
               : source == missing && name.rfind("Fetch", 0) != 0 ? StatusCode::NotFound
                                                                  : StatusCode::Failure);
    }
  }
  FailEach("Create", [&] { return client.Create(made, 60, START, NAN, NAN, 10); });
  FailEach("Update", [&] { return client.Update(path, std::map<long long, double>{{END, 1}}); });
  for (const Rrd::Durability durability : {Rrd::Durability::Process, Rrd::Durability::Power}) {
    FailEach("UpdateAtomically", [&] {
      return client.UpdateAtomically(path, {{END, 1}, {END + 60, 2}}, durability);
    });
  }
  // The RRD library reads some bytes behind its step of a source, where the memory of a sanitizer
  // may end.
  if (IS_SANITIZED == 0) {
    FailEach("Migrate", [&] { return client.Migrate(path, 60, END - 60, NAN, NAN, 40); });
  }
}

TEST_F(AllocationFailure, InQueries) {
  nvx::Utilities::FileSystem files;
  nvx::Workstation::InMemoryRedisClient store;
  RrdClient rrd;
  const Rrd::Database database(directory.GetPath(), files, store, rrd);
  FailEach("ListDataSources", [&] {
    std::set<std::string> ids;
    return database.ListDataSources(ids);
  });
  FailEach("HasDataSource", [&] { return database.HasDataSource(id); });
  FailEach("GetDataSource", [&] {
    std::unique_ptr<DataSourceInterface> source;
    return database.GetDataSource(id, source);
  });
  const auto query = [&](const auto& ask) {
    return [&] {
      std::unique_ptr<Rrd::NumericalDataSource> source;
      const StatusCode status = database.GetNumericalDataSource(id, source);
      return status == StatusCode::Success ? ask(*source) : status;
    };
  };
  FailEach("metadata", query([](const Rrd::NumericalDataSource& source) {
             long long time = 0;
             QueryInterval interval = QueryInterval::Day;
             const StatusCode first = source.GetFirstTimestamp(time);
             const StatusCode last = source.GetLastTimestamp(time);
             const StatusCode step = source.GetInterval(interval);
             return std::max({first, last, step});
           }));
  FailEach("FetchAverage", query([&](Rrd::NumericalDataSource& source) {
             std::vector<NumericalDataPoint> averages;
             return source.FetchAverage(window, QueryInterval::TenMinutes, averages);
           }));
  FailEach("Fetch", query([&](Rrd::NumericalDataSource& source) {
             std::vector<NumericalDataPoint> sums;
             return source.Fetch(window, QueryInterval::OneMinute, DataFunctions::ComputeSum, sums);
           }));
  FailEach("FetchDelta", query([&](Rrd::NumericalDataSource& source) {
             std::vector<NumericalDataPoint> deltas;
             return source.FetchDelta(window, QueryInterval::FullPeriod, deltas);
           }));
  FailEach(
      "Fetch of bounds", query([&](Rrd::NumericalDataSource& source) {
        DataFunction median;
        std::vector<Date::Date> bounds;
        std::vector<NumericalDataPoint> medians;
        const StatusCode made = DataFunctions::MakePercentile(DataFunctions::MEDIAN, median);
        const StatusCode listed = Calendar::ListBounds({CalendarUnit::Minute, 5}, window, bounds);
        return std::max({made, listed, source.Fetch(bounds, median, medians)});
      }));
  FailEach(
      "AdjustTimeWindow",
      [&] {
        TimeWindow adjusted = window;
        return TimeWindowHelper::AdjustTimeWindow(
            QueryInterval::Day, TimeWindowHelper::DEFAULT_ROUNDING_STRATEGY, adjusted);
      },
      StatusCode::InvalidArgument);
  FailEach("Initialize", [&] {
    Date::Date date;
    return date.Initialize("2021-03-28T01:00:00.000+00:00", "Europe/Paris");
  });
}

TEST_F(AllocationFailure, InConversions) {
  const std::string source = TEST_DATA "/legacy/gauge.legacy.rrd";
  const std::string destination = directory.GetPath("a file that is converted.rrd");
  constexpr Rrd::Tool::Layout TARGET = Rrd::Tool::Layout::Bits64;
  FailEach("Sanitizer", [&] { return Rrd::Tool::Sanitizer().Convert(source, destination); });
  FailEach(
      "Sanitizer, no file",
      [&] { return Rrd::Tool::Sanitizer().Convert(destination + ".none", destination); },
      StatusCode::CannotOpen);
  FailEach("LayoutConverter",
           [&] { return Rrd::Tool::LayoutConverter().Convert(source, destination, TARGET); });
  FailEach("Recognise", [&] {
    Rrd::Tool::RecognisedFile file;
    return Rrd::Tool::LayoutConverter().Recognise(source, file);
  });
  FailEach(
      "LayoutConverter, no file",
      [&] { return Rrd::Tool::LayoutConverter().Check(destination + ".none", TARGET); },
      StatusCode::CannotOpen);
}

}  // namespace
