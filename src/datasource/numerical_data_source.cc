#include "timeseries/rrd/numerical_data_source.h"

#include <exception>

#include "foundation/log.h"
#include "timeseries/rrd/interval_iterator.h"
#include "timeseries/rrd/interval_processor.h"
#include "timeseries/time_helper.h"
#include "timeseries/time_window_helper.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::NumericalDataSource";
constexpr int FIRST_ARCHIVE = 0;

}  // namespace

const std::string NumericalDataSource::FIELD_FIRST_TIMESTAMP = "firstTimeStamp";
const std::string NumericalDataSource::FIELD_INTERVAL = "interval";

NumericalDataSource::NumericalDataSource(const std::string& path, RedisClientInterface& redis,
                                         RrdClient& rrd)
    : filePath(path), redisClient(redis), rrdClient(rrd) {}

NumericalDataSource::~NumericalDataSource() = default;

StatusCode NumericalDataSource::GetFirstTimestamp(long long& firstTimestamp) const {
  std::string value;
  StatusCode rc = redisClient.HashGet(filePath, FIELD_FIRST_TIMESTAMP, value);
  if (rc == StatusCode::Success) {
    try {
      firstTimestamp = std::stol(value);
    } catch (const std::exception& exception) {
      NVX_LOG(KoraLogLevel::Error,
              "[%lu][%s] %s: Exception raised by std::stol, value='%s', exception='%s'",
              "GetFirstTimestamp", value.c_str(), exception.what());
      rc = StatusCode::Failure;
    }
  } else {
    NVX_LOG(KoraLogLevel::Information,
            "[%lu][%s] %s: Fail to get first timestamp from redis, trying with rrd",
            "GetFirstTimestamp");
    rc = rrdClient.GetFirstTimestamp(filePath, FIRST_ARCHIVE, firstTimestamp);
  }
  if (rc != StatusCode::Success) {
    NVX_LOG(KoraLogLevel::Information, "[%lu][%s] %s: Fail to get first timestamp for [%s]",
            "GetFirstTimestamp", filePath.c_str());
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
      NVX_LOG(KoraLogLevel::Error,
              "[%lu][%s] %s: Exception raised by std::stoul, value='%s', exception='%s'",
              "GetInterval", value.c_str(), exception.what());
      rc = StatusCode::Failure;
    }
  } else {
    NVX_LOG(KoraLogLevel::Information,
            "[%lu][%s] %s: Fail to get interval from redis, trying with rrd", "GetInterval");
    rc = rrdClient.GetInterval(filePath, seconds);
  }
  if (rc != StatusCode::Success) {
    NVX_LOG(KoraLogLevel::Information, "[%lu][%s] %s: Fail to get interval for [%s]", "GetInterval",
            filePath.c_str());
  }
  return rc;
}

StatusCode NumericalDataSource::GetInterval(QueryInterval& interval) const {
  unsigned long seconds = 0;
  const StatusCode rc = NumericalDataSource::GetInterval(seconds);
  if (rc != StatusCode::Success) {
    NVX_LOG(KoraLogLevel::Information, "[%lu][%s] %s: Fail to convert sampling rate for [%s]",
            "GetInterval", filePath.c_str());
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

StatusCode NumericalDataSource::FetchAndProcess(QueryInterval interval, const TimeWindow& window,
                                                const DataFunction& function,
                                                std::vector<NumericalDataPoint>& points) {
  FetchResult result;
  StatusCode rc = rrdClient.Fetch(filePath, window.start.timestamp, window.end.timestamp, result);
  if (rc != StatusCode::Success) {
    NVX_LOG(KoraLogLevel::Error, "[%lu][%s] %s: Failed to fetch from RRD for time-window [%s]",
            "FetchAndProcess", TimeWindowToString(window).c_str());
    return rc;
  }

  rc = interval == QueryInterval::FullPeriod
           ? ComputeDelta(window, result, points)
           : ProcessByInterval(interval, window, function, result, points);
  if (rc == StatusCode::Success && result.GetStartTime() != window.start.timestamp) {
    NVX_LOG(KoraLogLevel::Trace,
            "[%lu][%s][trace] %s: time window start time %lld different from fetched data start "
            "time %lld",
            "FetchAndProcess", window.start.timestamp, result.GetStartTime());
    SetQualitiesToBad(points);
    rc = StatusCode::PartialData;
  }
  return rc;
}

StatusCode NumericalDataSource::ProcessByInterval(QueryInterval interval, const TimeWindow& window,
                                                  const DataFunction& function,
                                                  const FetchResult& result,
                                                  std::vector<NumericalDataPoint>& points) {
  unsigned int expected = 0;
  const StatusCode rc = TimeWindowHelper::CalculateDataPointsCapacity(window, interval, expected);
  if (rc != StatusCode::Success) {
    NVX_LOG(KoraLogLevel::Error,
            "[%lu][%s] %s: Cannot calculate data point capacity for time-window [%s] and "
            "interval=%u",
            "ProcessByInterval", TimeWindowToString(window).c_str(),
            static_cast<unsigned int>(interval));
    return rc;
  }
  NVX_LOG(KoraLogLevel::Trace,
          "[%lu][%s][trace] %s: timeWindow=[%s], interval=%u, expectedNumberOfPoints=%u",
          "ProcessByInterval", TimeWindowToString(window).c_str(),
          static_cast<unsigned int>(interval), expected);

  points.reserve(expected);
  IntervalIterator iterator(window, result.GetData(), result.GetStep(), interval,
                            result.GetSampleCount());
  return IntervalProcessor(function, iterator).Process(points);
}

StatusCode NumericalDataSource::ComputeDelta(const TimeWindow& window, const FetchResult& result,
                                             std::vector<NumericalDataPoint>& points) {
  NVX_LOG(KoraLogLevel::Trace, "[%lu][%s][trace] %s: time-window='%s', NumberOfPoints=%u",
          "ComputeDelta", TimeWindowToString(window).c_str(), result.GetSampleCount());
  if (result.GetData() == nullptr || result.GetSampleCount() == 0) {
    NVX_LOG(KoraLogLevel::Error, "[%lu][%s] %s: fetched result is empty", "ComputeDelta");
    return StatusCode::Failure;
  }

  NumericalDataPoint point;
  point.date = window.start;
  const double* const first = result.GetData();
  const double* const last = first + (result.GetSampleCount() - 1);
  if (DataFunctions::ComputeDelta(first, last, point.value, point.quality) != StatusCode::Success) {
    NVX_LOG(KoraLogLevel::Error, "[%lu][%s] %s: fetched result not consistent", "ComputeDelta");
    return StatusCode::Failure;
  }
  points.push_back(point);
  return StatusCode::Success;
}

void NumericalDataSource::SetQualitiesToBad(std::vector<NumericalDataPoint>& points) {
  for (NumericalDataPoint& point : points) {
    point.quality = false;
  }
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
