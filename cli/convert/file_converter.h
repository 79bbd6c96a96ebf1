#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "replace/file_replacement.h"
#include "timeseries/host.h"
#include "timeseries/rrd/tool/layout_converter.h"
#include "timeseries/rrd/tool/sanitizer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// To be called before a file is opened: a conversion of a torn file would be torn. Throws FileError
// when the interrupted update cannot be undone here.
void UndoInterruptedUpdate(const Directory& directory, const std::string& fileName);

// Converts single files: from the layout with a 32-bit time_t to the one with a 64-bit time_t, or
// from any layout to the given one.
class FileConverter {
 public:
  explicit FileConverter(std::optional<Rrd::Tool::Layout> target) : target(target) {}

  // Throw FileError for every status but Success.
  void Check(const OpenedFile& source);
  void Convert(const OpenedFile& source, const FileReplacement& replacement);

  // A further message about the file that was checked last; or empty.
  const std::string& GetNote() const { return note; }

  // The name of the layout that the file checked last has instead; or empty.
  const std::string& GetOtherLayout() const { return otherLayout; }

 private:
  void CheckLegacy(const std::string& source);
  std::string Explain(const std::string& source, const std::string& reason);
  std::uint64_t FindUnusedSize(const std::string& source);

  std::optional<Rrd::Tool::Layout> target;
  std::string note;
  std::string otherLayout;
  Rrd::Tool::Sanitizer sanitizer;
  Rrd::Tool::LayoutConverter converter;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
