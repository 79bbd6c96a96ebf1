#include "rrd/file_check.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <optional>
#include <system_error>

#include "base/command_error.h"
#include "base/time_text.h"
#include "replace/file_descriptor.h"
#include "replace/opened_file.h"
#include "rrd/foreign_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr long long SECONDS_A_DAY = 86'400;
constexpr char FROM_BACKUP[] = "take it from a backup";

// Whether it begins as one, whatever is wrong with it.
bool IsRrdFile(const std::string& path, const std::string& zeltId) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file.IsOpen()) {
    const std::string reason = std::generic_category().message(errno);
    throw CommandError(zeltId, path + " cannot be opened: " + reason, StatusCode::CannotOpen);
  }
  constexpr char COOKIE[] = "RRD";  // and its NUL
  char start[sizeof COOKIE];
  return pread(file.Get(), start, sizeof start, 0) == static_cast<ssize_t>(sizeof start) &&
         std::equal(std::begin(start), std::end(start), COOKIE);
}

Finding DescribeDamage(const std::string& reason) {
  if (reason.find("needs write permission") != std::string::npos) {
    return {reason, "check it as a user who may write it"};
  }
  if (reason.find("its journal") != std::string::npos) {
    return {reason,
            "look at the file beside it whose name ends with " + std::string(JOURNAL_SUFFIX)};
  }
  const bool isCutOff = reason.find("values are cut off") != std::string::npos;
  return {"damaged: " + reason,
          isCutOff ? "recover makes a whole file of what is left" : FROM_BACKUP, isCutOff};
}

// The number of values outside the bounds of the file.
unsigned long long CountExcluded(const PatientClient& client, const std::string& path,
                                 const std::string& zeltId, const Rrd::FileDescription& file) {
  constexpr long long PIECE = 1'000'000;
  const Rrd::ArchiveDescription& archive = file.archives.front();
  const Rrd::DataSourceDescription& source = file.dataSources.front();
  const auto step = static_cast<long long>(file.step);
  unsigned long long count = 0;
  for (long long start = archive.firstTime; start <= archive.lastTime; start += PIECE * step) {
    Rrd::FetchResult rows;
    const long long end = std::min(archive.lastTime, start + (PIECE - 1) * step);
    Require(client.Fetch(path, start, end, rows), zeltId, "its samples cannot be read");
    count += static_cast<unsigned long long>(std::count_if(
        rows.GetData(), rows.GetData() + rows.GetSampleCount(),
        [&](double value) { return value < source.minimum || value > source.maximum; }));
  }
  return count;
}

// Whether a journal lies beside the file, or beside the one that a link names.
bool HasJournal(const std::string& path) {
  std::error_code ignored;
  const std::string ofLink = std::filesystem::canonical(path, ignored);
  return !ofLink.empty() && std::filesystem::exists(ofLink + JOURNAL_SUFFIX, ignored);
}

// Why the library does not take a file; none for one that it takes, which `file` describes then.
std::optional<Finding> FindDamage(const PatientClient& client, const std::string& path,
                                  const std::string& zeltId, Rrd::FileDescription& file) {
  if (!IsRrdFile(path, zeltId)) {
    return Finding{"it is no RRD file", FROM_BACKUP};
  }
  if (const std::optional<ForeignFile> foreign = FindForeignFile(path)) {
    return Finding{"of another machine", foreign->Describe()};
  }
  if (client.Describe(path, file) != StatusCode::Success) {
    return DescribeDamage(Failure::GetReason());
  }
  return std::nullopt;
}

}  // namespace

std::vector<Finding> CheckFile(const PatientClient& client, const std::string& path,
                               const std::string& zeltId) {
  const bool hadJournal = HasJournal(path);
  Rrd::FileDescription file;
  if (const std::optional<Finding> damage = FindDamage(client, path, zeltId, file)) {
    return {*damage};
  }
  std::vector<Finding> findings;
  if (hadJournal && !HasJournal(path)) {
    findings.push_back({"an update was interrupted", "it is undone now", false, true});
  }
  Rrd::Tool::LayoutConverter converter;
  Rrd::Tool::RecognisedFile content;
  if (converter.Recognise(path, content) != StatusCode::Success) {
    findings.push_back({converter.GetReason(),
                        "its samples can be read; " + std::string(FROM_BACKUP) + " to be sure"});
  }
  if (file.lastUpdate > std::time(nullptr) + SECONDS_A_DAY) {
    findings.push_back({"its last update, " + FormatUtc(file.lastUpdate) + ", is in the future",
                        "it takes no earlier sample; migrate --start --force drops what is later"});
  }
  if (file.HasShapeOfCreate()) {
    const auto excluded = CountExcluded(client, path, zeltId, file);
    if (excluded > 0) {
      findings.push_back({"values outside its bounds: " + std::to_string(excluded),
                          "another program or the disk has changed them; take it from a backup"});
    }
  }
  return findings;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
