#include "convert/conversion_plan.h"

#include <filesystem>
#include <system_error>

#include "replace/locked_directory.h"
#include "replace/tree_walk.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

void AddFile(const fs::path& path, const std::string& shownPath, ConversionPlan& plan) {
  plan[path.parent_path()].emplace(path.filename(), shownPath);
}

void AddTree(const fs::path& path, const fs::path& shownPath, ConversionPlan& plan,
             ConversionSummary& summary) {
  const auto refuse = [&](const fs::path& below, const std::error_code& error) {
    summary.AddFailed(below.empty() ? shownPath : shownPath / below,
                      {error.message(), StatusCode::CannotOpen});
  };
  const auto take = [&](const fs::path& below) {
    std::error_code error;
    const fs::path entry = path / below;
    const fs::file_type type = fs::symlink_status(entry, error).type();
    if (error && type != fs::file_type::not_found) {
      refuse(below, error);
    } else if (type == fs::file_type::regular && below.extension() == RRD_EXTENSION) {
      AddFile(entry, shownPath / below, plan);
    }
    return type == fs::file_type::directory && !IsTemporaryName(below.filename());
  };
  WalkTree(path, take, refuse);
}

void AddPath(const std::string& shownPath, ConversionPlan& plan, ConversionSummary& summary) {
  try {
    const std::string path = Resolve(shownPath).GetPath();
    std::error_code error;
    const fs::file_type type = fs::symlink_status(path, error).type();
    if (error) {
      throw FileError(error.message(), StatusCode::CannotOpen);
    }
    if (type == fs::file_type::directory) {
      AddTree(path, shownPath, plan, summary);
    } else if (type == fs::file_type::regular) {
      AddFile(path, shownPath, plan);
    } else {
      summary.AddNotConvertible(shownPath, {"is no regular file", StatusCode::InvalidArgument});
    }
  } catch (const FileError& error) {
    summary.AddFailed(shownPath, error);
  }
}

}  // namespace

ConversionPlan MakeConversionPlan(const std::vector<std::string>& paths,
                                  ConversionSummary& summary) {
  ConversionPlan plan;
  for (const std::string& path : paths) {
    AddPath(path, plan, summary);
  }
  return plan;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
