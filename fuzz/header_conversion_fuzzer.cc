#include <cstdint>
#include <cstdlib>

#include "memory_file.h"
#include "timeseries/host.h"
#include "timeseries/rrd/tool/sanitizer.h"

// Converts the input as a file. A converted file has 8 bytes more and must not be converted again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using nv::kora::StatusCode;
  static const MemoryFile source("source");
  static const MemoryFile destination("destination");
  nvx::Log::RootLogger::GetInstance().SetLevel(nv::kora::KoraLogLevel::None);
  source.Set(bytes, size);
  destination.Set(nullptr, 0);
  nvx::TimeSeriesDatabase::Rrd::Tool::Sanitizer sanitizer;
  const StatusCode status = sanitizer.Convert(source.GetPath(), destination.GetPath());
  const bool isRight = status == StatusCode::Success
                           ? destination.GetSize() == size + 8 &&
                                 sanitizer.Check(destination.GetPath()) == StatusCode::NothingToDo
                           : destination.GetSize() == 0;
  if (!isRight) {
    std::abort();
  }
  return 0;
}
