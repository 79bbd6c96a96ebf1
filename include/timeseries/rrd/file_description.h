#pragma once

#include <limits>
#include <string>
#include <vector>

#include "timeseries/export.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// One column of values of an RRD file.
struct DataSourceDescription {
  std::string name;
  std::string type;             // "GAUGE", "COUNTER", "COMPUTE", ...
  unsigned long heartbeat = 0;  // seconds without a sample after which values are missing
  double minimum = std::numeric_limits<double>::quiet_NaN();  // NaN: no bound
  double maximum = std::numeric_limits<double>::quiet_NaN();
  std::string lastReading;  // the text of the last update, "U" for a missing sample
};

// One row for each `stepsPerRow` steps. The times are those of the oldest and the newest row.
struct ArchiveDescription {
  std::string consolidation;  // "LAST", "AVERAGE", ...
  unsigned long stepsPerRow = 0;
  unsigned long rowCount = 0;
  long long firstTime = 0;
  long long lastTime = 0;
};

// What an RRD file consists of, as RrdClient::Describe reads it. Times and steps are in seconds.
struct NVX_TIMESERIES_EXPORT FileDescription {
  std::string version;  // of the file format, "0003"
  unsigned long step = 0;
  long long lastUpdate = 0;
  std::vector<DataSourceDescription> dataSources;
  std::vector<ArchiveDescription> archives;

  // Whether it is a file as RrdClient::Create makes it: the one gauge "element" and one archive
  // with the last value of each step. Only such files are migrated without loss.
  bool HasShapeOfCreate() const;

  // The archive that RrdClient::Fetch reads for a window from `start` on. Only archives of last
  // values or with one step per row are read. Of these it is the finest that reaches back to
  // `start`, or else the finest of those that reach back furthest. Null when there is none.
  const ArchiveDescription* FindArchive(long long start) const;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
