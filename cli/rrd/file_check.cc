#include "rrd/file_check.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <optional>
#include <system_error>

#include "base/command_error.h"
#include "base/time_text.h"
#include "replace/file_descriptor.h"
#include "replace/opened_file.h"
#include "rrd/foreign_file.h"
#include "rrd/row_walk.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

constexpr long long SECONDS_A_DAY = 86'400;
constexpr char FROM_BACKUP[] = "take it from a backup";

constexpr char JOURNAL[] = "the file beside it whose name ends with -journal";

// One that is no RRD file or cannot be opened is not given to the library.
bool IsRrdFile(const std::string& path, const std::string& zeltId) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file.IsOpen()) {
    const std::string reason = std::generic_category().message(errno);
    throw CommandError(zeltId, path + " cannot be opened: " + reason, StatusCode::CannotOpen);
  }
  return BeginsAsRrdFile(file.Get());
}

// What the library's last failure says of a file.
Finding DescribeDamage() {
  const std::string reason = Failure::GetReason();
  switch (Failure::GetKind()) {
    case FailureKind::NotUndone:
      return {reason, "check it as a user who may write it"};
    case FailureKind::BadJournal:
      return {reason, std::string("look at ") + JOURNAL};
    case FailureKind::CutOff:
      return {"damaged: " + reason, "recover makes a whole file of what is left",
              Finding::Kind::CutOff};
    default:
      return {"damaged: " + reason, FROM_BACKUP};
  }
}

// An average of values at a bound may exceed it by rounding.
bool IsOutside(double value, const Rrd::DataSourceDescription& source) {
  constexpr double LAST_DIGITS = 1e-9;
  return value < source.minimum - LAST_DIGITS * std::abs(source.minimum) ||
         value > source.maximum + LAST_DIGITS * std::abs(source.maximum);
}

// The number of values outside the bounds of the file.
unsigned long long CountExcluded(const PatientClient& client, const std::string& path,
                                 const std::string& zeltId, const Rrd::FileDescription& file) {
  const Rrd::ArchiveDescription& archive = file.archives.front();
  const Rrd::DataSourceDescription& source = file.dataSources.front();
  unsigned long long count = 0;
  const auto countOne = [&](long long /*time*/, double value) {
    count += IsOutside(value, source) ? 1 : 0;
  };
  Require(WalkRows(client, path, static_cast<long long>(file.step), archive.firstTime,
                   archive.lastTime, countOne),
          zeltId, "its samples cannot be read");
  return count;
}

// The journal beside the file, or beside the one that a link names, before the library opens the
// file: it undoes an update that was interrupted, and removes the journal, whatever is in it.
class FormerJournal {
 public:
  explicit FormerJournal(const std::string& path)
      : file(fs::canonical(path, ignored)),
        lastWrite(fs::last_write_time(file, ignored)),
        isThere(IsThere()) {}

  // Nothing while it is still there. What is undone is written to the file.
  std::optional<Finding> FindRemoval() {
    if (!isThere || IsThere()) {
      return std::nullopt;
    }
    return fs::last_write_time(file, ignored) != lastWrite
               ? Finding{"an update was interrupted", "it is undone now", Finding::Kind::Undone}
               : Finding{std::string(JOURNAL) + " was no journal of it",
                         "it was ignored and is removed now", Finding::Kind::IgnoredJournal};
  }

 private:
  bool IsThere() const { return access((file.string() + JOURNAL_SUFFIX).c_str(), F_OK) == 0; }

  std::error_code ignored;
  fs::path file;
  fs::file_time_type lastWrite;
  bool isThere;
};

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
    return DescribeDamage();
  }
  return std::nullopt;
}

}  // namespace

std::vector<Finding> CheckFile(const PatientClient& client, const std::string& path,
                               const std::string& zeltId) {
  FormerJournal journal(path);
  Rrd::FileDescription file;
  if (const std::optional<Finding> damage = FindDamage(client, path, zeltId, file)) {
    return {*damage};
  }
  std::vector<Finding> findings;
  if (const std::optional<Finding> removal = journal.FindRemoval()) {
    findings.push_back(*removal);
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
                          "unless migrate changed the bounds, another program or the disk has "
                          "changed these values: take the file from a backup"});
    }
  }
  return findings;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
