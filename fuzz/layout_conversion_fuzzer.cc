#include <cstdint>
#include <cstdlib>

#include "memory_file.h"
#include "timeseries/host.h"
#include "timeseries/rrd/tool/layout_converter.h"

namespace {

using nv::kora::StatusCode;
using nvx::TimeSeriesDatabase::Rrd::Tool::Layout;
using nvx::TimeSeriesDatabase::Rrd::Tool::LayoutConverter;

void Require(bool isRight) {
  if (!isRight) {
    std::abort();
  }
}

// A converted file is one of its layout, or one with texts that RRDtool would not write and that
// may be of another layout as well. There and back it stays the same.
void ConvertAgain(const MemoryFile& file, Layout layout, Layout other) {
  static const MemoryFile there("there");
  static const MemoryFile back("back");
  LayoutConverter converter;
  const StatusCode status = converter.Check(file.GetPath(), layout);
  Require(status == StatusCode::NothingToDo ||
          (status == StatusCode::InvalidArgument && layout == Layout::Arm32Time64));
  if (converter.Convert(file.GetPath(), there.GetPath(), other) == StatusCode::Success &&
      converter.Convert(there.GetPath(), back.GetPath(), layout) == StatusCode::Success) {
    Require(back.Get() == file.Get());
  }
}

}  // namespace

// Converts the input as a file to both layouts that are alive.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const MemoryFile source("source");
  static const MemoryFile destination("destination");
  nvx::Log::RootLogger::GetInstance().SetLevel(nv::kora::KoraLogLevel::None);
  source.Set(bytes, size);
  for (const Layout layout : {Layout::Bits64, Layout::Arm32Time64}) {
    destination.Set(nullptr, 0);
    LayoutConverter converter;
    const StatusCode checked = converter.Check(source.GetPath(), layout);
    Require(converter.Convert(source.GetPath(), destination.GetPath(), layout) == checked);
    Require(converter.GetReason().empty() == (checked == StatusCode::Success));
    if (checked == StatusCode::Success) {
      const Layout other = layout == Layout::Bits64 ? Layout::Arm32Time64 : Layout::Bits64;
      ConvertAgain(destination, layout, other);
    } else {
      Require(destination.GetSize() == 0);
    }
  }
  return 0;
}
