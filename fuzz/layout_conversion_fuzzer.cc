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

constexpr Layout TARGETS[] = {Layout::Bits64, Layout::Arm32Time64, Layout::Arm32Time32,
                              Layout::I386Time64, Layout::I386};

// A converted file is one of its layout; of 32 bits, it may also be of the other time_t where its
// texts or its times are not as RRDtool writes them. There and back it stays the same.
void ConvertAgain(const MemoryFile& file, Layout layout) {
  static const MemoryFile there("there");
  static const MemoryFile back("back");
  LayoutConverter converter;
  const StatusCode status = converter.Check(file.GetPath(), layout);
  Require(status == StatusCode::NothingToDo ||
          (status == StatusCode::InvalidArgument && layout != Layout::Bits64));
  const Layout other = layout == Layout::Bits64 ? Layout::I386Time64 : Layout::Bits64;
  if (status == StatusCode::NothingToDo &&
      converter.Convert(file.GetPath(), there.GetPath(), other) == StatusCode::Success &&
      converter.Convert(there.GetPath(), back.GetPath(), layout) == StatusCode::Success) {
    Require(back.Get() == file.Get());
  }
}

}  // namespace

// Converts the input as a file to all layouts.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const MemoryFile source("source");
  static const MemoryFile destination("destination");
  nvx::Log::RootLogger::GetInstance().SetLevel(nv::kora::KoraLogLevel::None);
  source.Set(bytes, size);
  for (const Layout layout : TARGETS) {
    destination.Set(nullptr, 0);
    LayoutConverter converter;
    const StatusCode checked = converter.Check(source.GetPath(), layout);
    Require(converter.Convert(source.GetPath(), destination.GetPath(), layout) == checked);
    Require(converter.GetReason().empty() == (checked == StatusCode::Success));
    if (checked == StatusCode::Success) {
      ConvertAgain(destination, layout);
    } else {
      Require(destination.GetSize() == 0);
    }
  }
  return 0;
}
