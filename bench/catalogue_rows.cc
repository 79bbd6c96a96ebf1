// Directories with many files, and how the time grows with the data.

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <set>

#include "row.h"
#include "samples.h"
#include "timeseries/host.h"
#include "timeseries/rrd/database.h"

namespace Bench {
namespace {

using namespace nvx::TimeSeriesDatabase;

constexpr int MANY_FILES = 10000;

// A directory with a file of two days and `fileCount` empty ones.
class Catalogue {
 public:
  Catalogue(int fileCount, unsigned int rowCount) {
    MakeFile(GetPath("topo_days.rrd"), START, START + 2 * DAY, rowCount);
    for (int i = 0; i < fileCount; ++i) {
      std::ofstream(GetPath("modbus_meter" + std::to_string(i) + "__power.rrd")).flush();
    }
  }

  std::string GetPath(const std::string& name) const { return directory.GetPath(name); }

  std::set<std::string> List() {
    std::set<std::string> ids;
    Require(database.ListDataSources(ids) == StatusCode::Success, "list");
    return ids;
  }

  Points QueryADay() {
    std::unique_ptr<NumericalDataSourceInterface> source;
    Points points;
    Require(database.GetNumericalDataSource("topo:days", source) == StatusCode::Success &&
                source->FetchAverage(window, QueryInterval::Hour, points) == StatusCode::Success,
            "query");
    return points;
  }

 private:
  Directory directory;
  nvx::Utilities::FileSystem fileSystem;
  nvx::Workstation::InMemoryRedisClient redis;
  RrdClient rrd;
  Rrd::Database database{GetPath(""), fileSystem, redis, rrd};
  const TimeWindow window = MakeWindow(START, START + DAY);
};

int CountFiles(const std::string& path) {
  DIR* const directory = opendir(path.c_str());
  if (directory == nullptr) {
    return 0;
  }
  int count = 0;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread reads this directory
  while (const dirent* const entry = readdir(directory)) {
    struct stat status {};
    if (fstatat(dirfd(directory), entry->d_name, &status, 0) == 0 && S_ISREG(status.st_mode)) {
      ++count;
    }
  }
  closedir(directory);
  return count;
}

Contest EnterList() {
  const auto catalogue = std::make_shared<Catalogue>(MANY_FILES - 1, 3000);
  const std::string path = catalogue->GetPath("");
  Require(catalogue->List().size() == MANY_FILES && CountFiles(path) == MANY_FILES, "files");
  return {{[=] { (void)catalogue->List(); }}, {[=] { (void)CountFiles(path); }}};
}

// The same work in two catalogues.
Contest EnterCatalogues(const std::shared_ptr<Catalogue>& ours,
                        const std::shared_ptr<Catalogue>& theirs) {
  for (const auto& catalogue : {ours, theirs}) {
    const Points points = catalogue->QueryADay();
    RequireEqual(points, AddUp(points, START + DAY), START + DAY, BoundSample::InBoth);
  }
  return {{[=] { (void)ours->QueryADay(); }}, {[=] { (void)theirs->QueryADay(); }}};
}

Contest EnterLengths() {
  const auto year = std::make_shared<Year>();
  constexpr long long LENGTH = (END - START) / 3600 / 12 * 3600;
  const auto query = [=](long long part, long long partCount) {
    const long long start = START + part * LENGTH;
    return year->Query(MakeWindow(start, start + partCount * LENGTH), QueryInterval::Hour);
  };
  const Points points = query(0, 12);
  Points parts;
  for (long long part = 0; part < 12; ++part) {
    const Points found = query(part, 1);
    parts.insert(parts.end(), found.begin(), found.end());
  }
  Require(std::equal(points.begin(), points.end(), parts.begin(), parts.end(),
                     [](const auto& point, const auto& other) {
                       return point.date.timestamp == other.date.timestamp &&
                              point.value == other.value && point.quality && other.quality;
                     }),
          "a twelfth");
  return {{[=] { (void)query(0, 12); }}, {[=] {
            for (long long part = 0; part < 12; ++part) {
              (void)query(part, 1);
            }
          }}};
}

}  // namespace

std::vector<Row> ListCatalogueRows() {
  return {
      {"`ListDataSources` of 10,000 files", "`readdir` and `stat`", AtMost(1.20), EnterList},
      {"growth: a year by hour", "12 times a twelfth of it", AtMost(1.10), EnterLengths},
      {"growth: a day by hour among 10,000 files", "alone in its directory", AtMost(1.10),
       [] {
         return EnterCatalogues(std::make_shared<Catalogue>(MANY_FILES, 3000),
                                std::make_shared<Catalogue>(0, 3000));
       }},
      {"growth: a day by hour of a file of 5,256,000 rows", "of one of 525,600 rows", AtMost(1.10),
       [] {
         return EnterCatalogues(std::make_shared<Catalogue>(0, 5256000),
                                std::make_shared<Catalogue>(0, 525600));
       }},
  };
}

}  // namespace Bench
