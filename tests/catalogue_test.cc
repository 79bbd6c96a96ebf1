#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "nvx/workstation/in_memory_redis_client.h"
#include "support/log_capture.h"
#include "support/table.h"
#include "support/temporary_directory.h"
#include "timeseries/rrd/database.h"
#include "timeseries/rrd/file_helper.h"

using namespace nvx::TimeSeriesDatabase;
using Ids = std::set<std::string>;

namespace {

const std::string HELPER = "[TimeSeriesDatabase::Rrd::FileHelper]";
const std::string DATABASE = "[TimeSeriesDatabase::Rrd::Database]";

std::string NoScope(const std::string& key) {
  return "7" + HELPER + "[trace] FindZeltScope: No zelt scope found in key [" + key + "]";
}

std::string NoId(const std::string& fileName) {
  return "7" + DATABASE + "[trace] InsertZeltId: Failed to retrieve zelt id from file [" +
         fileName + "]";
}

TEST(FileHelper, IdsScopesAndFileNames) {
  for (const auto& row : ReadTable("zelt_ids.txt")) {
    std::string scope;
    EXPECT_EQ(Rrd::FindZeltScope(row[0], scope), StatusCode::Success);
    EXPECT_EQ(scope, row[1]);
    std::string fileName;
    EXPECT_EQ(Rrd::FileHelper::ComputeFileNameFromZeltId(row[0], fileName), StatusCode::Success);
    EXPECT_EQ(fileName, row[2]);
    LogCapture log(3);
    std::string id;
    const StatusCode rc = Rrd::FileHelper::ComputeZeltIdFromFileName(fileName, id);
    if (rc == StatusCode::Success) {
      EXPECT_EQ(id, row[3]);
    } else {
      EXPECT_EQ(row[3], "none");
      EXPECT_EQ(log.Take(),
                Lines{"3" + HELPER + " ComputeZeltIdFromFileName: Malformed file name [" +
                      fileName + "]"});
    }
  }
  std::string id;
  EXPECT_EQ(Rrd::FileHelper::ComputeZeltIdFromFileName("topo_x.txt", id), StatusCode::Success);
  EXPECT_EQ(id, "topo:x");
}

TEST(FileHelper, MalformedIdsAreRefused) {
  struct Case {
    const char* id;
    bool hasColon;
    std::string line;
  };
  const std::string malformed = "3" + HELPER + " ComputeFileNameFromZeltId: Malformed zelt id [";
  const Case cases[] = {
      {"sensor:1", true, NoScope("sensor:1")},
      {"", false, NoScope("")},
      {"a:topo", true, malformed + "a:topo]"},
      {"topo", false, malformed + "topo]"},
  };
  for (const Case& expected : cases) {
    LogCapture log;
    std::string fileName = "before";
    EXPECT_EQ(Rrd::FileHelper::ComputeFileNameFromZeltId(expected.id, fileName),
              StatusCode::InvalidArgument);
    EXPECT_EQ(fileName, "before");
    EXPECT_EQ(log.Take(), Lines{expected.line});
    EXPECT_EQ(Rrd::FileHelper::IsZeltIdValid(expected.id), expected.hasColon);
  }
  LogCapture log;
  std::string id = "before";
  EXPECT_EQ(Rrd::FileHelper::ComputeZeltIdFromFileName("abc_def.rrd", id),
            StatusCode::InvalidArgument);
  EXPECT_EQ(id, "before");
  EXPECT_EQ(log.Take(), Lines{NoScope("abc_def.rrd")});
}

TEST(FileHelper, ASemicolonIsTraced) {
  LogCapture log;
  std::string fileName;
  Rrd::FileHelper::ComputeFileNameFromZeltId("topo:a;b", fileName);
  EXPECT_EQ(log.Take(), Lines{"7" + HELPER +
                              "[trace] ComputeFileNameFromZeltId: File name successfuly computed"});
}

class DatabaseTest : public testing::Test {
 protected:
  void MakeFiles(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      std::ofstream(directory.GetPath(name)) << "x";
    }
  }

  Rrd::Database Open(const std::string& path) { return {path, files, redis, rrd}; }

  const TemporaryDirectory directory;
  nvx::Utilities::FileSystem files;
  nvx::Workstation::InMemoryRedisClient redis;
  RrdClient rrd;
};

TEST_F(DatabaseTest, ListsTheIdsOfItsFiles) {
  const Rrd::Database database = Open(directory.GetPath());
  Ids ids = {"before"};
  EXPECT_EQ(database.ListDataSources(ids), StatusCode::Success);
  EXPECT_EQ(ids, Ids{"before"});

  MakeFiles({"x.rrd", "topo.txt"});
  EXPECT_EQ(database.ListDataSources(ids), StatusCode::Success);
  ids.clear();
  LogCapture log;
  EXPECT_EQ(database.ListDataSources(ids), StatusCode::Failure);
  EXPECT_EQ(log.Take(), (Lines{NoScope("x.rrd"), NoId("x.rrd")}));

  MakeFiles({"topo_a__b.rrd", "topo_a;b.rrd", "modbus_1.rrd"});
  EXPECT_EQ(database.ListDataSources(ids), StatusCode::Success);
  EXPECT_EQ(ids, (Ids{"modbus:1", "topo:a;b"}));
}

TEST_F(DatabaseTest, ADirectoryThatCannotBeReadIsReported) {
  LogCapture log(3);
  Ids ids = {"before"};
  EXPECT_EQ(Open("/nowhere").ListDataSources(ids), StatusCode::NotFound);
  EXPECT_EQ(ids, Ids{"before"});
  EXPECT_EQ(log.Take(),
            Lines{"3" + DATABASE + " ListDataSources: Failed to get file list in [/nowhere]"});
}

TEST_F(DatabaseTest, OpensADataSourceByItsId) {
  const Rrd::Database database = Open(directory.GetPath());
  std::unique_ptr<DataSourceInterface> source;
  std::unique_ptr<NumericalDataSourceInterface> numerical;
  const std::pair<const char*, StatusCode> failures[] = {{"topo:a", StatusCode::NotFound},
                                                         {"sensor:a", StatusCode::InvalidArgument}};
  for (const auto& [id, code] : failures) {
    EXPECT_EQ(database.HasDataSource(id), code);
    EXPECT_EQ(database.GetDataSource(id, source), code);
    EXPECT_EQ(database.GetNumericalDataSource(id, numerical), code);
    EXPECT_TRUE(source == nullptr && numerical == nullptr);
  }

  MakeFiles({"topo_a.rrd"});
  redis.HashSet(directory.GetPath("topo_a.rrd"), "interval", "60");
  EXPECT_EQ(database.HasDataSource("topo:a"), StatusCode::Success);
  ASSERT_EQ(database.GetDataSource("topo:a", source), StatusCode::Success);
  ASSERT_EQ(database.GetNumericalDataSource("topo:a", numerical), StatusCode::Success);
  unsigned long interval = 0;
  EXPECT_EQ(source->GetInterval(interval), StatusCode::Success);
  EXPECT_EQ(numerical->GetInterval(interval), StatusCode::Success);
  EXPECT_EQ(interval, 60u);

  const DataSourceInterface* const held = source.get();
  EXPECT_EQ(database.GetDataSource("topo:none", source), StatusCode::NotFound);
  EXPECT_EQ(source.get(), held);
}

TEST_F(DatabaseTest, PathsKeepTheDirectoryAsItIs) {
  std::string path = "before";
  EXPECT_EQ(Open("/data/rrd/").GetPathToRrdFile("topo:a", path), StatusCode::Success);
  EXPECT_EQ(path, "/data/rrd//topo_a.rrd");
  EXPECT_EQ(Open("/data").GetPathToRrdFile("sensor:a", path), StatusCode::InvalidArgument);
  EXPECT_EQ(path, "/data/rrd//topo_a.rrd");
}

}  // namespace
