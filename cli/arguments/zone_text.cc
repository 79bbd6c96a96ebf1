#include "arguments/zone_text.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

#include "arguments/nearest_word.h"
#include "base/command_error.h"
#include "base/digest.h"
#include "timeseries/date/date.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

constexpr char LOCAL[] = "local";
constexpr char LOCAL_FILE[] = "/etc/localtime";

// cctz would open any path, and what else it takes for a zone has a colon in its name.
bool IsNameOfDatabase(const std::string& name) {
  constexpr char LETTERS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+-_/";
  return name.find_first_not_of(LETTERS) == std::string::npos && name.rfind('/', 0) != 0;
}

fs::path GetDatabase() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread of the program changes a variable
  const char* const given = std::getenv("TZDIR");
  return given == nullptr ? "/usr/share/zoneinfo" : given;
}

// The names of the zoneinfo database, without its copies that count leap seconds or do not.
std::vector<std::string> ListZones() {
  const fs::path root = GetDatabase();
  std::vector<std::string> names;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(root, error), end; entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().lexically_relative(root);
    if (name == "posix" || name == "right") {
      entry.disable_recursion_pending();
    } else if (!entry->is_directory(error) && name.find('.') == std::string::npos) {
      names.push_back(name);
    }
  }
  return names;
}

bool Load(const std::string& name, cctz::time_zone& zone) {
  Date::Date date;
  const bool isLoaded = date.Initialize(0, name) == StatusCode::Success;
  zone = date.timeZone;
  return isLoaded;
}

// Where the zone of the machine is told, and its name or the path of its file.
struct LocalZone {
  std::string source;
  std::string name;
};

LocalZone FindLocalZone() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread of the program changes a variable
  if (const char* const variable = std::getenv("TZ")) {
    const std::string name = variable[0] == ':' ? variable + 1 : variable;
    return {std::string("TZ=") + variable, name.empty() ? "UTC" : name};
  }
  return {LOCAL_FILE, LOCAL_FILE};
}

cctz::time_zone LoadLocalZone() {
  const LocalZone local = FindLocalZone();
  cctz::time_zone zone;
  if (!Load(local.name, zone)) {
    throw UsageError(LOCAL, "the zone of this machine is not known: " + local.source +
                                " is not in the time zone database");
  }
  return zone;
}

// What stands behind the directory of the database in the path of a file, or in that of a file that
// it links to. Empty for any other.
std::string FindNameInPath(fs::path path) {
  constexpr char DATABASE[] = "/zoneinfo/";
  constexpr int MOST_LINKS = 40;
  std::error_code error;
  for (int i = 0; i < MOST_LINKS && !error; ++i) {
    const std::string text = path.lexically_normal();
    const std::size_t place = text.rfind(DATABASE);
    if (place != std::string::npos) {
      return text.substr(place + sizeof DATABASE - 1);
    }
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return "";
}

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

std::string IdentifyZone(const cctz::time_zone& zone) {
  std::string path = zone.name();
  if (path.empty() || path[0] != '/') {
    return path;
  }
  std::string name = FindNameInPath(path);
  if (!name.empty() && IsNameOfDatabase(name)) {
    return name;
  }
  return "rules " + ComputeDigest(ReadFile(path));
}

cctz::time_zone LoadZone(const std::string& name) {
  if (name == LOCAL) {
    return LoadLocalZone();
  }
  cctz::time_zone zone;
  if (!IsNameOfDatabase(name) || !Load(name, zone)) {
    std::vector<std::string> known = ListZones();
    known.emplace_back(LOCAL);
    throw UsageError(name, "unknown time zone" + SuggestWord(name, known));
  }
  return zone;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
