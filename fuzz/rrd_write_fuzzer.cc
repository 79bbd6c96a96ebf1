#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "timeseries/host.h"
#include "timeseries/rrd_client.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

// A migration makes its new file beside the old one, and needs a directory.
class Directory {
 public:
  Directory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "nvx-fuzz-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      std::abort();
    }
    path = pattern;
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  ~Directory() { std::filesystem::remove_all(path); }

  std::string Write(const std::uint8_t* bytes, std::size_t size) const {
    const std::string file = path + "/a.rrd";
    std::filesystem::remove(file);
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    return file;
  }

 private:
  std::string path;
};

}  // namespace

// The RRD library leaks a few bytes for each failure. No other memory is written.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:librrd";
}

// Stores samples in the input, and migrates it, as an RRD file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const Directory directory;
  nvx::Log::RootLogger::GetInstance().SetLevel(nv::kora::KoraLogLevel::None);
  const RrdClient client;
  const std::string path = directory.Write(bytes, size);
  long long last = 0;
  const bool isRead = client.GetLastTimestamp(path, last) == StatusCode::Success;
  (void)client.Update(path, {{last + 1, 1}, {last + 60, 2}, {last + 119, NAN}, {last + 180, 3}});
  (void)client.Update(path, {{last + 100'000, -4}});
  // After a failed write the file can still be read, unless it could not be read before, or a
  // further sample moves its times out of the readable range.
  constexpr long long FAR_TIME = 1LL << 39;
  long long later = 0;
  if (isRead && last < FAR_TIME && client.GetLastTimestamp(path, later) != StatusCode::Success) {
    std::abort();
  }
  directory.Write(bytes, size);
  (void)client.Migrate(path, 60, last, 0, 100, 20);
  (void)client.Update(path, {{last + 60, 1}});
  return 0;
}
