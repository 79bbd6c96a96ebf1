#include "convert/conversion_plan.h"

#include <filesystem>
#include <system_error>

#include "base/directory_names.h"
#include "replace/locked_directory.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

class Planner {
 public:
  explicit Planner(ConversionSummary& conversionSummary) : summary(conversionSummary) {}

  void AddPath(const std::string& shownPath) {
    try {
      const std::string path = Resolve(shownPath).GetPath();
      std::error_code error;
      const fs::file_type type = fs::symlink_status(path, error).type();
      if (error) {
        summary.AddFailed(shownPath, {error.message(), StatusCode::CannotOpen});
      } else if (type == fs::file_type::directory) {
        AddTree(path, shownPath);
      } else if (type == fs::file_type::regular) {
        AddFile(path, shownPath);
      } else {
        summary.AddNotConvertible(shownPath, {"is no regular file", StatusCode::InvalidArgument});
      }
    } catch (const FileError& error) {
      summary.AddFailed(shownPath, error);
    }
  }

  ConversionPlan TakePlan() { return std::move(plan); }

 private:
  struct Tree {
    std::string path;
    std::string shownPath;
  };

  void AddFile(const fs::path& path, const std::string& shownPath) {
    plan[path.parent_path()].emplace(path.filename(), shownPath);
  }

  // One directory is open at a time, however deep the tree.
  void AddTree(const std::string& path, const std::string& shownPath) {
    trees.push_back({path, shownPath});
    while (!trees.empty()) {
      const Tree tree = std::move(trees.back());
      trees.pop_back();
      AddDirectory(tree);
    }
  }

  void AddDirectory(const Tree& tree) {
    std::error_code error;
    for (const std::string& name : ReadNames(tree.path, error)) {
      AddEntry(name, tree);
    }
    if (error) {
      summary.AddFailed(tree.shownPath, {error.message(), StatusCode::CannotOpen});
    }
  }

  void AddEntry(const fs::path& name, const Tree& tree) {
    const fs::path path = fs::path(tree.path) / name;
    const std::string shownPath = fs::path(tree.shownPath) / name;
    std::error_code error;
    const fs::file_type type = fs::symlink_status(path, error).type();
    if (error && type != fs::file_type::not_found) {
      summary.AddFailed(shownPath, {error.message(), StatusCode::CannotOpen});
    } else if (type == fs::file_type::directory && !IsTemporaryName(name)) {
      trees.push_back({path, shownPath});
    } else if (type == fs::file_type::regular && name.extension() == RRD_EXTENSION) {
      AddFile(path, shownPath);
    }
  }

  std::vector<Tree> trees;  // still to be searched
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
