#include "files/conversion/in_place_conversion.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <optional>
#include <vector>

#include "files/conversion/backup.h"
#include "files/conversion/conversion_plan.h"
#include "files/conversion/logged_sanitizer.h"
#include "files/file_attributes.h"
#include "files/file_error.h"
#include "files/file_replacement.h"
#include "output/progress_bar.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

bool IsOwnGroup(gid_t group) {
  const int count = std::max(getgroups(0, nullptr), 0);
  std::vector<gid_t> groups(static_cast<std::size_t>(count));
  groups.resize(static_cast<std::size_t>(std::clamp(getgroups(count, groups.data()), 0, count)));
  return group == getegid() || std::find(groups.begin(), groups.end(), group) != groups.end();
}

// Finds what would keep the file from being replaced, as far as that shows before it is tried.
void RequireReplaceable(const std::string& path, const struct stat& original, Backup backup) {
  const std::string directory = fs::path(path).parent_path();
  RequireCall(faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0, "it is not writable");
  RequireCall(faccessat(AT_FDCWD, directory.c_str(), R_OK | W_OK | X_OK, AT_EACCESS) == 0,
              "its directory is not writable");
  RequireArgument(geteuid() == 0 || (geteuid() == original.st_uid && IsOwnGroup(original.st_gid)),
                  "the new file could not be given to its owner and group");
  const nlink_t nameCount = backup == Backup::Link ? 2 : 1;
  RequireArgument(original.st_nlink <= nameCount,
                  "it has another name (hard link), which would keep the old file");
}

class InPlaceConversion {
 public:
  explicit InPlaceConversion(const InPlaceOptions& inPlaceOptions)
      : options(inPlaceOptions), summary(inPlaceOptions.isDryRun) {}

  ConversionSummary Run(const std::vector<std::string>& paths) {
    const ConversionPlan plan = MakeConversionPlan(paths, summary);
    for (const auto& [directory, files] : plan) {
      fileCount += files.size();
    }
    for (const auto& [directory, files] : plan) {
      ConvertDirectory(directory, files);
    }
    return std::move(summary);
  }

 private:
  void ConvertDirectory(const std::string& directory, const PlannedFiles& files) {
    if (options.isDryRun) {
      ConvertFiles(directory, files);
      return;
    }
    const std::size_t before = summary.CountConverted();
    std::optional<LockedDirectory> lock;
    try {
      lock.emplace(directory);
    } catch (const FileError& error) {
      for (const auto& [name, shownPath] : files) {
        summary.AddFailed(shownPath, error);
      }
      return;
    }
    ConvertFiles(directory, files);
    if (summary.CountConverted() != before) {
      SyncDirectory(*lock, files);
    }
  }

  void SyncDirectory(const LockedDirectory& lock, const PlannedFiles& files) {
    try {
      lock.Sync();
    } catch (const FileError& error) {
      summary.AddFailed(fs::path(files.begin()->second).parent_path(), error);
    }
  }

  void ConvertFiles(const std::string& directory, const PlannedFiles& files) {
    for (const auto& [name, shownPath] : files) {
      ConvertFile(fs::path(directory) / name, shownPath);
      ++doneCount;
      progress.Show(static_cast<double>(doneCount) / static_cast<double>(fileCount),
                    std::to_string(doneCount) + "/" + std::to_string(fileCount) + " files");
    }
  }

  void ConvertFile(const std::string& path, const std::string& shownPath) {
    try {
      const struct stat original = ReadAttributes(path);
      if (IsToBeConverted(path, shownPath)) {
        Replace(path, original);
        summary.AddConverted(shownPath);
      }
    } catch (const FileError& error) {
      summary.AddFailed(shownPath, error);
    } catch (const std::exception& exception) {
      summary.AddFailed(shownPath, {exception.what(), StatusCode::Failure});
    }
  }

  bool IsToBeConverted(const std::string& path, const std::string& shownPath) {
    try {
      sanitizer.Check(path);
      return true;
    } catch (const FileError& error) {
      if (error.GetStatus() == StatusCode::NothingToDo) {
        summary.AddAlreadyConverted(shownPath);
      } else if (error.GetStatus() == StatusCode::InvalidArgument) {
        summary.AddNotConvertible(shownPath, error);
      } else {
        throw;
      }
      return false;
    }
  }

  void Replace(const std::string& path, const struct stat& original) {
    const std::string backupPath = path + options.backupSuffix;
    const bool isBackupWanted = !options.backupSuffix.empty();
    const Backup found = isBackupWanted ? FindBackup(path, backupPath, original) : Backup::None;
    RequireReplaceable(path, original, found);
    if (options.isDryRun) {
      return;
    }
    FileReplacement replacement(path);
    sanitizer.Convert(path, replacement);
    replacement.SetOwnerAndMode(original);
    replacement.SetTimes(original);
    const bool isBackupNew = isBackupWanted && found == Backup::None;
    if (isBackupNew) {
      KeepBackup(path, backupPath, original);
    }
    try {
      RequireArgument(IsUnchanged(original, ReadAttributes(path)),
                      "it changed while it was converted");
      replacement.PutInPlace();
    } catch (const FileError&) {
      if (isBackupNew) {
        unlink(backupPath.c_str());
      }
      throw;
    }
  }

  const InPlaceOptions& options;
  LoggedSanitizer sanitizer;
  ConversionSummary summary;
  ProgressBar progress;
  std::size_t fileCount = 0;
  std::size_t doneCount = 0;
};

}  // namespace

ConversionSummary ConvertInPlace(const std::vector<std::string>& paths,
                                 const InPlaceOptions& options) {
  return InPlaceConversion(options).Run(paths);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
