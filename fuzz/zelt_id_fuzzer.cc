#include <cstdint>
#include <cstdlib>
#include <string>

#include "timeseries/host.h"
#include "timeseries/rrd/file_helper.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

void Require(bool isRight) {
  if (!isRight) {
    std::abort();
  }
}

}  // namespace

// Takes the input for an id and for the name of a file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  nvx::Log::RootLogger::GetInstance().SetLevel(nv::kora::KoraLogLevel::None);
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  std::string name = "before";
  std::string id = "before";
  if (Rrd::FileHelper::ComputeFileNameFromZeltId(text, name) == StatusCode::Success) {
    Require(Rrd::FileHelper::IsZeltIdValid(text) && name.find('_') != std::string::npos);
    (void)Rrd::FileHelper::ComputeZeltIdFromFileName(name, id);
  } else {
    Require(name == "before");
  }
  if (Rrd::FileHelper::ComputeZeltIdFromFileName(text, id) == StatusCode::Success) {
    Require(Rrd::FileHelper::IsZeltIdValid(id));
  }
  return 0;
}
