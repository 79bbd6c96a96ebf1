#include <cstdint>
#include <cstdlib>

#include "memory_file.h"
#include "timeseries/host.h"
#include "timeseries/rrd/tool/layout_converter.h"

namespace {

using nv::kora::StatusCode;
using nvx::TimeSeriesDatabase::Rrd::Tool::Layout;
using nvx::TimeSeriesDatabase::Rrd::Tool::LayoutConverter;
using nvx::TimeSeriesDatabase::Rrd::Tool::RecognisedFile;

void Require(bool isRight) {
  if (!isRight) {
    std::abort();
  }
}

constexpr Layout TARGETS[] = {Layout::Bits64, Layout::Arm32Time64, Layout::Arm32Time32,
                              Layout::I386Time64, Layout::I386};

// Whether a converted file is recognised in its new layout. With 32 bits, a file whose texts or
// times RRDtool would not write may also have the other time_t and an unused word.
bool IsRecognised(const MemoryFile& file, Layout layout) {
  LayoutConverter converter;
  if (converter.Check(file.GetPath(), layout) == StatusCode::NothingToDo) {
    return true;
  }
  RecognisedFile other;
  Require(layout != Layout::Bits64);
  Require(converter.Recognise(file.GetPath(), other) == StatusCode::InvalidArgument ||
          other.unusedSize != 0);
  return false;
}

// Converting there and back gives the same file.
void ConvertAgain(const MemoryFile& file, Layout layout) {
  static const MemoryFile there("there");
  static const MemoryFile back("back");
  const Layout other = layout == Layout::Bits64 ? Layout::I386Time64 : Layout::Bits64;
  LayoutConverter converter;
  if (IsRecognised(file, layout) &&
      converter.Convert(file.GetPath(), there.GetPath(), other) == StatusCode::Success &&
      IsRecognised(there, other)) {
    Require(converter.Convert(there.GetPath(), back.GetPath(), layout) == StatusCode::Success);
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
