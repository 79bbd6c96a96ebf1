#include <fstream>
#include <memory>
#include <set>

#include "nvx/workstation/in_memory_redis_client.h"
#include "support/log_capture.h"
#include "support/table.h"
#include "support/temporary_directory.h"
#include "timeseries/host.h"
#include "timeseries/rrd/database.h"
#include "timeseries/rrd/file_helper.h"

using namespace nvx::TimeSeriesDatabase;
using Rrd::FileHelper;
using Ids = std::set<std::string>;

namespace {

const std::string HELPER = "[TimeSeriesDatabase::Rrd::FileHelper]";
const std::string DATABASE = "[TimeSeriesDatabase::Rrd::Database]";

std::string NoScope(const std::string& key) {
  return "7" + HELPER + "[trace] FindZeltScope: No zelt scope found in key [" + key + "]";
}

TEST(FileHelper, MapsIdsToFileNamesAndBack) {
  std::string id;
  ForEachRow("zelt_ids.txt", [&id](const Row& row) {
    std::string scope;
    EXPECT_EQ(Rrd::FindZeltScope(row["id"], scope), StatusCode::Success);
    EXPECT_EQ(scope, row["scope"]);
    LogCapture log;
    std::string fileName;
    EXPECT_EQ(FileHelper::ComputeFileNameFromZeltId(row["id"], fileName), StatusCode::Success);
    EXPECT_EQ(fileName, row["file name"]);
    const Lines traced = {"7" + HELPER +
                          "[trace] ComputeFileNameFromZeltId: File name successfuly computed"};
    EXPECT_EQ(log.Take(), row["id"].find(';') == std::string::npos ? Lines{} : traced);

    const bool isMapped = row["back"] != "none";
    EXPECT_EQ(FileHelper::ComputeZeltIdFromFileName(fileName, id),
              isMapped ? StatusCode::Success : StatusCode::InvalidArgument);
    EXPECT_EQ(isMapped ? id : "none", row["back"]);
    const Lines malformed = {"3" + HELPER + " ComputeZeltIdFromFileName: Malformed file name [" +
                             fileName + "]"};
    EXPECT_EQ(log.Take(), isMapped ? Lines{} : malformed);
  });
  EXPECT_EQ(FileHelper::ComputeZeltIdFromFileName("topo_x.txt", id), StatusCode::Success);
  EXPECT_EQ(id, "topo:x");
}

TEST(FileHelper, MalformedIdsAreRefused) {
  for (const std::string text : {"sensor:1", "", "a:topo", "topo"}) {
    LogCapture log;
    std::string fileName = "before";
    EXPECT_EQ(FileHelper::ComputeFileNameFromZeltId(text, fileName), StatusCode::InvalidArgument);
    EXPECT_EQ(fileName, "before");
    EXPECT_EQ(log.Take().back(),
              text.find("topo") == std::string::npos
                  ? NoScope(text)
                  : "3" + HELPER + " ComputeFileNameFromZeltId: Malformed zelt id [" + text + "]");
    EXPECT_EQ(FileHelper::IsZeltIdValid(text), text.find(':') != std::string::npos);
  }
  std::string id = "before";
  EXPECT_EQ(FileHelper::ComputeZeltIdFromFileName("abc_def.rrd", id), StatusCode::InvalidArgument);
  EXPECT_EQ(id, "before");
}

class DatabaseTest : public testing::Test {
 protected:
  Rrd::Database Open(const std::string& path) { return {path, files, redis, rrd}; }

  const TemporaryDirectory directory;
  nvx::Utilities::FileSystem files;
  nvx::Workstation::InMemoryRedisClient redis;
  RrdClient rrd;
};

TEST_F(DatabaseTest, ListsTheIdsOfItsFiles) {
  const Rrd::Database database = Open(directory.GetPath());
  const auto list = [&](Ids ids, StatusCode code) {
    EXPECT_EQ(database.ListDataSources(ids), code);
    return ids;
  };
  EXPECT_EQ(list({}, StatusCode::Success), Ids{});
  std::ofstream(directory.GetPath("x.rrd"));
  std::ofstream(directory.GetPath("topo.txt"));
  EXPECT_EQ(list({"before"}, StatusCode::Success), Ids{"before"});
  LogCapture log;
  EXPECT_EQ(list({}, StatusCode::Failure), Ids{});
  EXPECT_STREQ(Failure::GetReason(), "no file is named after an id");
  EXPECT_EQ(log.Take(),
            (Lines{NoScope("x.rrd"), "7" + DATABASE + "[trace] InsertZeltId: Failed to retrieve " +
                                         "zelt id from file [x.rrd]"}));
  for (const char* const name : {"topo_a__b.rrd", "topo_a;b.rrd", "modbus_1.rrd"}) {
    std::ofstream(directory.GetPath(name));
  }
  EXPECT_EQ(list({"before"}, StatusCode::Success), (Ids{"before", "modbus:1", "topo:a;b"}));

  Ids ids = {"before"};
  EXPECT_EQ(Open("/nowhere").ListDataSources(ids), StatusCode::NotFound);
  EXPECT_EQ(ids, Ids{"before"});
  EXPECT_EQ(log.Take().back(),
            "3" + DATABASE + " ListDataSources: Failed to get file list in [/nowhere]");
  EXPECT_STREQ(Failure::GetReason(), "Failed to get file list in [/nowhere]");
}

TEST_F(DatabaseTest, OpensADataSourceByItsId) {
  const Rrd::Database database = Open(directory.GetPath() + "/");
  std::unique_ptr<DataSourceInterface> source;
  std::unique_ptr<NumericalDataSourceInterface> numerical;
  std::unique_ptr<Rrd::NumericalDataSource> own;
  std::ofstream(directory.GetPath("topo_a.rrd"));
  redis.HashSet(directory.GetPath() + "//topo_a.rrd", "interval", "60");
  EXPECT_EQ(database.HasDataSource("topo:a"), StatusCode::Success);
  ASSERT_EQ(database.GetDataSource("topo:a", source), StatusCode::Success);
  ASSERT_EQ(database.GetNumericalDataSource("topo:a", numerical), StatusCode::Success);
  unsigned long interval = 0;
  EXPECT_EQ(source->GetInterval(interval), StatusCode::Success);
  EXPECT_EQ(numerical->GetInterval(interval), StatusCode::Success);
  ASSERT_EQ(database.GetNumericalDataSource("topo:a", own), StatusCode::Success);
  EXPECT_EQ(own->GetInterval(interval), StatusCode::Success);
  EXPECT_EQ(interval, 60u);

  const DataSourceInterface* const held = source.get();
  const NumericalDataSourceInterface* const heldNumerical = numerical.get();
  const std::string missing = "there is no file '" + directory.GetPath() + "//topo_b.rrd'";
  for (const auto& [id, code, reason] :
       {std::tuple("topo:b", StatusCode::NotFound, missing.c_str()),
        std::tuple("sensor:a", StatusCode::InvalidArgument,
                   "No zelt scope found in key [sensor:a]")}) {
    EXPECT_EQ(database.HasDataSource(id), code);
    EXPECT_STREQ(Failure::GetReason(), reason);
    EXPECT_EQ(database.GetDataSource(id, source), code);
    EXPECT_EQ(database.GetNumericalDataSource(id, numerical), code);
    EXPECT_TRUE(source.get() == held && numerical.get() == heldNumerical);
  }
  std::string path = "before";
  EXPECT_EQ(database.GetPathToRrdFile("sensor:a", path), StatusCode::InvalidArgument);
  EXPECT_EQ(path, "before");
}

}  // namespace
