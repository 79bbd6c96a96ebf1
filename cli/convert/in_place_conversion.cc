#include "convert/in_place_conversion.h"

#include <unistd.h>

#include <exception>
#include <filesystem>
#include <optional>

#include "base/progress_bar.h"
#include "convert/backup.h"
#include "convert/conversion_plan.h"
#include "convert/file_converter.h"
#include "replace/file_attributes.h"
#include "replace/file_error.h"
#include "replace/file_replacement.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

class InPlaceConversion {
 public:
  explicit InPlaceConversion(const InPlaceOptions& inPlaceOptions)
      : options(inPlaceOptions),
        converter(inPlaceOptions.target),
        summary(inPlaceOptions.isDryRun) {}

  ConversionSummary Run(const std::vector<std::string>& paths) {
    const ConversionPlan plan = MakeConversionPlan(paths, summary);
    for (const auto& [directory, files] : plan) {
      fileCount += files.size();
    }
    try {
      for (const auto& [directory, files] : plan) {
        ConvertDirectory(directory, files);
      }
    } catch (const Interrupted&) {
      // The summary has what was done until then.
    }
    return std::move(summary);
  }

 private:
  void ConvertDirectory(const std::string& path, const PlannedFiles& files) {
    std::optional<Directory> directory;
    std::optional<LockedDirectory> lock;
    try {
      directory.emplace(path);
      if (!options.isDryRun) {
        lock.emplace(*directory);
      }
    } catch (const FileError& error) {
      for (const auto& [name, shownPath] : files) {
        summary.AddFailed(shownPath, error);
      }
      return;
    }
    const std::size_t before = summary.CountConverted();
    for (const auto& [name, shownPath] : files) {
      ConvertFile(*directory, lock ? &*lock : nullptr, name, shownPath);
      ShowProgress();
    }
    if (lock && summary.CountConverted() != before) {
      SyncDirectory(*directory, files);
    }
  }

  void ShowProgress() {
    ++doneCount;
    progress.Show(static_cast<double>(doneCount) / static_cast<double>(fileCount),
                  std::to_string(doneCount) + "/" + std::to_string(fileCount) + " files");
  }

  void SyncDirectory(const Directory& directory, const PlannedFiles& files) {
    try {
      directory.Sync();
    } catch (const FileError& error) {
      summary.AddFailed(fs::path(files.begin()->second).parent_path(), error);
    }
  }

  // A dry run does not need the right to replace files.
  void ConvertFile(const Directory& directory, LockedDirectory* lock, const std::string& name,
                   const std::string& shownPath) {
    try {
      UndoInterruptedUpdate(directory, name);
      const OpenedFile original(directory, name);
      if (IsToBeConverted(original, shownPath)) {
        const Backup backup = CheckReplaceable(directory, original);
        if (lock != nullptr) {
          Replace(*lock, original, backup);
        }
        summary.AddConverted(shownPath, converter.GetNote());
      }
    } catch (const FileError& error) {
      summary.AddFailed(shownPath, error);
    } catch (const std::exception& exception) {
      summary.AddFailed(shownPath, {exception.what(), StatusCode::Failure});
    }
  }

  bool IsToBeConverted(const OpenedFile& original, const std::string& shownPath) {
    try {
      converter.Check(original);
      return true;
    } catch (const FileError& error) {
      if (error.GetStatus() == StatusCode::NothingToDo) {
        summary.AddAlreadyConverted(shownPath);
      } else if (error.GetStatus() == StatusCode::InvalidArgument) {
        summary.AddNotConvertible(shownPath, error, converter.GetOtherLayout());
      } else {
        throw;
      }
      return false;
    }
  }

  std::string GetBackupName(const OpenedFile& original) const {
    return original.GetName() + options.backupSuffix;
  }

  Backup CheckReplaceable(const Directory& directory, const OpenedFile& original) const {
    const Backup backup = options.backupSuffix.empty()
                              ? Backup::None
                              : FindBackup(directory, original, GetBackupName(original));
    original.RequireReplaceable(backup == Backup::Link ? 2 : 1);
    return backup;
  }

  void Replace(LockedDirectory& directory, const OpenedFile& original, Backup backup) {
    FileReplacement replacement(directory, original.GetName());
    converter.Convert(original, replacement);
    CopyTimes(original.GetStatus(), replacement.Get());
    const bool isBackupNew = !options.backupSuffix.empty() && backup == Backup::None;
    if (isBackupNew) {
      KeepBackup(directory, original, GetBackupName(original));
    }
    try {
      replacement.Replace(original);
    } catch (...) {
      if (isBackupNew) {
        unlinkat(directory.Get().Get(), GetBackupName(original).c_str(), 0);
      }
      throw;
    }
  }

  const InPlaceOptions& options;
  FileConverter converter;
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
