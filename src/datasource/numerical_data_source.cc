#include "timeseries/rrd/numerical_data_source.h"

#include <exception>

#include "foundation/log.h"
#include "timeseries/host.h"
#include "timeseries/rrd/interval_iterator.h"
#include "timeseries/rrd/interval_processor.h"
#include "timeseries/time_helper.h"
#include "timeseries/time_window_helper.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::NumericalDataSource";
constexpr int FIRST_ARCHIVE = 0;

bool IsSameZone(const cctz::time_zone& lhs, const cctz::time_zone& rhs) {
  // unreached: zones of two copies of cctz, of which each has an object of its own for a name
  return lhs == rhs || lhs.name() == rhs.name();
}

// Log lines name the operation that the caller called.
StatusCode CheckBounds(const std::vector<Date::Date>& bounds) {
  if (bounds.size() < 2) {
    NVX_FAILURE_IN("Fetch", "Fewer than two bounds [%zu]", bounds.size());
    return StatusCode::InvalidArgument;
  }
  for (auto bound = bounds.begin() + 1; bound != bounds.end(); ++bound) {
    const Date::Date& former = *(bound - 1);
    if (former.timestamp >= bound->timestamp) {
      NVX_FAILURE_IN("Fetch", "Bounds do not ascend [%lld] [%lld]", former.timestamp,
                     bound->timestamp);
      return StatusCode::InvalidArgument;
    }
    if (!IsSameZone(former.timeZone, bound->timeZone)) {
      NVX_FAILURE_IN("Fetch", "Timezones of bounds are different [%s] [%s]",
                     former.timeZone.name().c_str(), bound->timeZone.name().c_str());
      return StatusCode::InvalidArgument;
    }
  }
  return StatusCode::Success;
}

}  // namespace

const std::string NumericalDataSource::FIELD_FIRST_TIMESTAMP = "firstTimeStamp";
const std::string NumericalDataSource::FIELD_INTERVAL = "interval";

NumericalDataSource::NumericalDataSource(const std::string& filePath,
                                         RedisClientInterface& redisClient, RrdClient& rrdClient)
    : filePath(filePath), redisClient(redisClient), rrdClient(rrdClient) {}

NumericalDataSource::~NumericalDataSource() = default;

StatusCode NumericalDataSource::GetFirstTimestamp(long long& firstTimestamp) const {
  std::string value;
  StatusCode rc = redisClient.HashGet(filePath, FIELD_FIRST_TIMESTAMP, value);
  if (rc == StatusCode::Success) {
    try {
      firstTimestamp = std::stol(value);
    } catch (const std::exception& exception) {
      NVX_FAILURE("Exception raised by std::stol, value='%s', exception='%s'", value.c_str(),
                  exception.what());
      rc = StatusCode::Failure;
    }
  } else {
    NVX_INFO("Fail to get first timestamp from redis, trying with rrd");
    rc = rrdClient.GetFirstTimestamp(filePath, FIRST_ARCHIVE, firstTimestamp);
  }
  if (rc != StatusCode::Success) {
    NVX_INFO("Fail to get first timestamp for [%s]", filePath.c_str());
  }
  return rc;
}

StatusCode NumericalDataSource::GetLastTimestamp(long long& lastTimestamp) const {
  return rrdClient.GetLastTimestamp(filePath, lastTimestamp);
}

StatusCode NumericalDataSource::GetInterval(unsigned long& seconds) const {
  std::string value;
  StatusCode rc = redisClient.HashGet(filePath, FIELD_INTERVAL, value);
  if (rc == StatusCode::Success) {
    try {
      seconds = std::stoul(value);
    } catch (const std::exception& exception) {
      NVX_FAILURE("Exception raised by std::stoul, value='%s', exception='%s'", value.c_str(),
                  exception.what());
      rc = StatusCode::Failure;
    }
  } else {
    NVX_INFO("Fail to get interval from redis, trying with rrd");
    rc = rrdClient.GetInterval(filePath, seconds);
  }
  if (rc != StatusCode::Success) {
    NVX_INFO("Fail to get interval for [%s]", filePath.c_str());
  }
  return rc;
}

StatusCode NumericalDataSource::GetInterval(QueryInterval& interval) const {
  unsigned long seconds = 0;
  const StatusCode rc = NumericalDataSource::GetInterval(seconds);
  if (rc != StatusCode::Success) {
    NVX_INFO("Fail to convert sampling rate for [%s]", filePath.c_str());
    return rc;
  }
  return TimeHelper::ConvertSamplingRateToQueryInterval(seconds, interval);
}

StatusCode NumericalDataSource::Reserved() { return StatusCode::Success; }

StatusCode NumericalDataSource::FetchAverage(const TimeWindow& window, QueryInterval interval,
                                             std::vector<NumericalDataPoint>& points) {
  return FetchAndProcess(interval, window, DataFunctions::ComputeAverageIgnoringNan, points);
}

StatusCode NumericalDataSource::FetchDelta(const TimeWindow& window, QueryInterval interval,
                                           std::vector<NumericalDataPoint>& points) {
  return FetchAndProcess(interval, window, DataFunctions::ComputeDelta, points);
}

StatusCode NumericalDataSource::Fetch(const TimeWindow& window, QueryInterval interval,
                                      const DataFunction& function,
                                      std::vector<NumericalDataPoint>& points) {
  return FetchAndProcess(interval, window, function, points);
}

StatusCode NumericalDataSource::Fetch(const std::vector<Date::Date>& bounds,
                                      const DataFunction& function,
                                      std::vector<NumericalDataPoint>& points) {
  StatusCode rc = CheckBounds(bounds);
  if (rc != StatusCode::Success) {
    return rc;
  }
  const TimeWindow window{bounds.front(), bounds.back()};
  FetchResult result;
  rc = FetchSamples(window, result);
  if (rc == StatusCode::Success) {
    rc = ProcessBounds(bounds, result, function, points);
  }
  return rc == StatusCode::Success ? CheckStart(window, result, points) : rc;
}

StatusCode NumericalDataSource::FetchAndProcess(QueryInterval interval, const TimeWindow& window,
                                                const DataFunction& function,
                                                std::vector<NumericalDataPoint>& points) {
  FetchResult result;
  StatusCode rc = FetchSamples(window, result);
  if (rc != StatusCode::Success) {
    return rc;
  }
  rc = interval == QueryInterval::FullPeriod
           ? ComputeDelta(window, result, points)
           : ProcessByInterval(interval, window, function, result, points);
  return rc == StatusCode::Success ? CheckStart(window, result, points) : rc;
}

StatusCode NumericalDataSource::FetchSamples(const TimeWindow& window, FetchResult& result) const {
  const StatusCode rc =
      rrdClient.Fetch(filePath, window.start.timestamp, window.end.timestamp, result);
  if (rc != StatusCode::Success) {
    NVX_ERROR_IN("FetchAndProcess", "Failed to fetch from RRD for time-window [%s]",
                 TimeWindowToString(window).c_str());
  }
  return rc;
}

StatusCode NumericalDataSource::CheckStart(const TimeWindow& window, const FetchResult& result,
                                           std::vector<NumericalDataPoint>& points) {
  if (result.GetStartTime() == window.start.timestamp) {
    return StatusCode::Success;
  }
  NVX_TRACE_IN("FetchAndProcess",
               "time window start time %lld different from fetched data start time %lld",
               window.start.timestamp, result.GetStartTime());
  SetQualitiesToBad(points);
  return StatusCode::PartialData;
}

StatusCode NumericalDataSource::ProcessByInterval(QueryInterval interval, const TimeWindow& window,
                                                  const DataFunction& function,
                                                  const FetchResult& result,
                                                  std::vector<NumericalDataPoint>& points) {
  unsigned int expected = 0;
  const StatusCode rc = TimeWindowHelper::CalculateDataPointsCapacity(window, interval, expected);
  if (rc != StatusCode::Success) {
    NVX_ERROR("Cannot calculate data point capacity for time-window [%s] and interval=%u",
              TimeWindowToString(window).c_str(), static_cast<unsigned int>(interval));
    return rc;
  }
  NVX_TRACE("timeWindow=[%s], interval=%u, expectedNumberOfPoints=%u",
            TimeWindowToString(window).c_str(), static_cast<unsigned int>(interval), expected);

  points.reserve(expected);
  IntervalIterator iterator(window, result.GetData(), result.GetStep(), interval,
                            result.GetSampleCount());
  return IntervalProcessor(function, iterator).Process(points);
}

StatusCode NumericalDataSource::ComputeDelta(const TimeWindow& window, const FetchResult& result,
                                             std::vector<NumericalDataPoint>& points) {
  NVX_TRACE("time-window='%s', NumberOfPoints=%u", TimeWindowToString(window).c_str(),
            result.GetSampleCount());
  // unreached: data of no samples
  if (result.GetData() == nullptr || result.GetSampleCount() == 0) {
    NVX_FAILURE("fetched result is empty");
    return StatusCode::Failure;
  }

  NumericalDataPoint point;
  point.date = window.start;
  const double* const first = result.GetData();
  const double* const last = first + (result.GetSampleCount() - 1);
  // GCOVR_EXCL_START: ComputeDelta refuses null pointers alone, and there are none
  if (DataFunctions::ComputeDelta(first, last, point.value, point.quality) != StatusCode::Success) {
    NVX_FAILURE("fetched result not consistent");
    return StatusCode::Failure;
  }
  // GCOVR_EXCL_STOP
  points.push_back(point);
  return StatusCode::Success;
}

void NumericalDataSource::SetQualitiesToBad(std::vector<NumericalDataPoint>& points) {
  for (NumericalDataPoint& point : points) {
    point.quality = false;
  }
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
