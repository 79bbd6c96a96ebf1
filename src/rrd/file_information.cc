#include "rrd/file_information.h"

#include <limits>
#include <string_view>
#include <utility>

#include "timeseries/rrd/constants.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

constexpr std::string_view DATA_SOURCE_PREFIX = "ds[";
constexpr std::string_view ARCHIVE_PREFIX = "rra[";

bool HasPrefix(std::string_view key, std::string_view prefix) {
  return key.substr(0, prefix.size()) == prefix;
}

// The last part of a key such as "ds[element].type".
std::string_view GetAttribute(std::string_view key) { return key.substr(key.rfind("].") + 2); }

std::string_view GetName(std::string_view key) {
  const std::string_view rest = key.substr(DATA_SOURCE_PREFIX.size());
  return rest.substr(0, rest.rfind("]."));
}

// The index is the first entry of each data source.
void ReadDataSource(const rrd_info_t& entry, std::vector<DataSourceDescription>& dataSources) {
  const std::string_view attribute = GetAttribute(entry.key);
  if (attribute == "index") {
    dataSources.emplace_back().name = GetName(entry.key);
  } else if (attribute == "type") {
    dataSources.back().type = entry.value.u_str;
  } else if (attribute == "minimal_heartbeat") {
    dataSources.back().heartbeat = entry.value.u_cnt;
  } else if (attribute == "min") {
    dataSources.back().minimum = entry.value.u_val;
  } else if (attribute == "max") {
    dataSources.back().maximum = entry.value.u_val;
  } else if (attribute == "last_ds") {
    dataSources.back().lastReading = entry.value.u_str;
  }
}

// The consolidation function is the first entry of each archive.
void ReadArchive(const rrd_info_t& entry, std::vector<ArchiveDescription>& archives) {
  const std::string_view attribute = GetAttribute(entry.key);
  if (attribute == "cf") {
    archives.emplace_back().consolidation = entry.value.u_str;
  } else if (attribute == "rows") {
    archives.back().rowCount = entry.value.u_cnt;
  } else if (attribute == "pdp_per_row") {
    archives.back().stepsPerRow = entry.value.u_cnt;
  }
}

void ReadEntry(const rrd_info_t& entry, FileDescription& description) {
  const std::string_view key = entry.key;
  if (HasPrefix(key, DATA_SOURCE_PREFIX)) {
    ReadDataSource(entry, description.dataSources);
  } else if (HasPrefix(key, ARCHIVE_PREFIX)) {
    ReadArchive(entry, description.archives);
  } else if (key == "rrd_version") {
    description.version = entry.value.u_str;
  } else if (key == "step") {
    description.step = entry.value.u_cnt;
  } else if (key == "last_update") {
    description.lastUpdate = static_cast<long long>(entry.value.u_cnt);
  }
}

long long GetRowLength(const FileDescription& description, const ArchiveDescription& archive) {
  return static_cast<long long>(archive.stepsPerRow) * static_cast<long long>(description.step);
}

// With one step per row these four hold the same, and the RRD library takes one for another.
bool IsFetched(const ArchiveDescription& archive) {
  const std::string& function = archive.consolidation;
  return function == LAST_KEYWORD ||
         (archive.stepsPerRow == 1 &&
          (function == "AVERAGE" || function == "MIN" || function == "MAX"));
}

}  // namespace

FileDescription ReadFileInformation(const rrd_info_t* information) {
  FileDescription description;
  for (const rrd_info_t* entry = information; entry != nullptr; entry = entry->next) {
    ReadEntry(*entry, description);
  }
  for (ArchiveDescription& archive : description.archives) {
    ComputeTimes(description, archive);
  }
  return description;
}

// The gate has seen the file: its rows last at least a second, and its times allow their number.
void ComputeTimes(const FileDescription& description, ArchiveDescription& archive) {
  const long long rowLength = GetRowLength(description, archive);
  archive.lastTime = description.lastUpdate - description.lastUpdate % rowLength;
  archive.firstTime = archive.lastTime - static_cast<long long>(archive.rowCount - 1) * rowLength;
}

const ArchiveDescription* FileDescription::FindArchive(long long start) const {
  // All archives that reach back to the start count as equal here.
  const auto getRank = [this, start](const ArchiveDescription& archive) {
    const long long begin = archive.firstTime - GetRowLength(*this, archive);
    return std::pair(begin < start ? std::numeric_limits<long long>::min() : begin,
                     archive.stepsPerRow);
  };
  const ArchiveDescription* best = nullptr;
  for (const ArchiveDescription& archive : archives) {
    if (IsFetched(archive) && (best == nullptr || getRank(archive) < getRank(*best))) {
      best = &archive;
    }
  }
  return best;
}

bool FileDescription::HasShapeOfCreate() const {
  return dataSources.size() == 1 && dataSources[0].name == "element" &&
         dataSources[0].type == "GAUGE" && archives.size() == 1 &&
         archives[0].consolidation == LAST_KEYWORD && archives[0].stepsPerRow == 1;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
