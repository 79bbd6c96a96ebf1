#include "convert/conversion_plan.h"

#include <filesystem>
#include <system_error>

#include "replace/locked_directory.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

class Planner {
 public:
  explicit Planner(ConversionSummary& conversionSummary) : summary(conversionSummary) {}

  void AddPath(const std::string& shownPath) {
    std::error_code error;
    const fs::path path = fs::canonical(shownPath, error);
    if (error) {
      summary.AddFailed(shownPath, {error.message(), StatusCode::CannotOpen});
    } else if (fs::is_directory(path, error)) {
      AddTree(path, shownPath);
    } else if (fs::is_regular_file(path, error)) {
      plan[path.parent_path()].emplace(path.filename(), shownPath);
    } else {
      summary.AddNotConvertible(shownPath, {"is no regular file", StatusCode::InvalidArgument});
    }
  }

  ConversionPlan TakePlan() { return std::move(plan); }

 private:
  void AddTree(const fs::path& directory, const fs::path& shownPath) {
    std::error_code error;
    fs::directory_iterator entry(directory, error);
    while (!error && entry != fs::directory_iterator()) {
      AddEntry(*entry, directory, shownPath);
      entry.increment(error);
    }
    if (error) {
      summary.AddFailed(shownPath, {error.message(), StatusCode::CannotOpen});
    }
  }

  void AddEntry(const fs::directory_entry& entry, const fs::path& directory,
                const fs::path& shownDirectory) {
    const fs::path name = entry.path().filename();
    std::error_code error;
    const fs::file_type type = entry.symlink_status(error).type();
    if (error && type != fs::file_type::not_found) {
      summary.AddFailed(shownDirectory / name, {error.message(), StatusCode::CannotOpen});
    } else if (type == fs::file_type::directory && !IsTemporaryName(name)) {
      AddTree(entry.path(), shownDirectory / name);
    } else if (type == fs::file_type::regular && name.extension() == RRD_EXTENSION) {
      plan[directory].emplace(name, shownDirectory / name);
    }
  }

  ConversionSummary& summary;
  ConversionPlan plan;
};

}  // namespace

ConversionPlan MakeConversionPlan(const std::vector<std::string>& paths,
                                  ConversionSummary& summary) {
  Planner planner(summary);
  for (const std::string& path : paths) {
    planner.AddPath(path);
  }
  return planner.TakePlan();
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
