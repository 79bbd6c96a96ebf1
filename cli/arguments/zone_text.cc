#include "arguments/zone_text.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include "arguments/nearest_word.h"
#include "base/command_error.h"
#include "timeseries/date/date.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char LOCAL[] = "local";

// cctz would open any path, and what else it takes for a zone has a colon in its name.
bool IsNameOfDatabase(const std::string& name) {
  constexpr char LETTERS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+-_/";
  return name.find_first_not_of(LETTERS) == std::string::npos && name.rfind('/', 0) != 0;
}

// The names of the zoneinfo database, without its copies that count leap seconds or do not.
std::vector<std::string> ListZones() {
  namespace fs = std::filesystem;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread of the program changes a variable
  const char* const given = std::getenv("TZDIR");
  const fs::path root = given == nullptr ? "/usr/share/zoneinfo" : given;
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
  constexpr char FILE[] = "/etc/localtime";
  constexpr char NAME_FILE[] = "/etc/timezone";
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread of the program changes a variable
  if (const char* const variable = std::getenv("TZ")) {
    const std::string name = variable[0] == ':' ? variable + 1 : variable;
    return {std::string("TZ=") + variable, name.empty() ? "UTC" : name};
  }
  std::error_code error;
  if (std::filesystem::exists(FILE, error)) {
    return {FILE, FILE};
  }
  std::string name;
  std::ifstream(NAME_FILE) >> name;
  return {NAME_FILE, name};
}

cctz::time_zone LoadLocalZone() {
  const LocalZone local = FindLocalZone();
  cctz::time_zone zone;
  if (!Load(local.name, zone)) {
    throw UsageError(LOCAL, "the zone of this machine is not known: " + local.source +
                                " names none of the time zone database");
  }
  return zone;
}

}  // namespace

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
