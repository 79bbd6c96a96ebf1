#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "timeseries/host.h"
#include "timeseries/rrd/tool/sanitizer.h"

namespace {

// A file in memory, which has a path.
class MemoryFile {
 public:
  explicit MemoryFile(const char* name) : fd(memfd_create(name, MFD_CLOEXEC)) {}

  std::string GetPath() const { return "/proc/self/fd/" + std::to_string(fd); }

  void Set(const std::uint8_t* bytes, std::size_t size) const {
    if (ftruncate(fd, 0) != 0 || pwrite(fd, bytes, size, 0) != static_cast<ssize_t>(size)) {
      std::abort();
    }
  }

  std::size_t GetSize() const {
    struct stat status {};
    fstat(fd, &status);
    return static_cast<std::size_t>(status.st_size);
  }

 private:
  int fd;
};

}  // namespace

// Converts the input as a file. A converted file has 8 bytes more and is converted no second time.
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
