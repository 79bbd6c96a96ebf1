#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "arguments/csv_reader.h"
#include "arguments/sample_text.h"
#include "arguments/zone_text.h"
#include "base/command_error.h"
#include "base/time_text.h"
#include "timeseries/host.h"

using namespace nvx::TimeSeriesDatabase;
using namespace nvx::TimeSeriesDatabase::CommandLine;

namespace {

constexpr long long YEAR_1000 = -30'610'224'000;  // earlier years have fewer digits

// The time of a sample, printed and read again, must be the same.
void Check(const std::pair<long long, double>& sample, const cctz::time_zone& zone) {
  const bool isReadAgain =
      sample.first < YEAR_1000 || ParseTime(FormatUtc(sample.first), zone) == sample.first;
  if (!isReadAgain) {
    std::abort();
  }
}

void ReadLines(const std::string& text, const cctz::time_zone& zone) {
  std::istringstream input(text);
  CsvReader reader(input, "input", std::nullopt, zone);
  while (const auto sample = reader.Read()) {
    Check(*sample, zone);
  }
}

}  // namespace

// Reads the input as lines of samples, and as one sample of the command line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  nvx::Log::RootLogger::GetInstance().SetLevel(nv::kora::KoraLogLevel::None);
  static const cctz::time_zone zone = LoadZone("Europe/Paris");
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  try {
    ReadLines(text, zone);
  } catch (const CommandError&) {
  }
  try {
    const auto [time, value] = ReadSample(text, zone);
    const auto findTime = [] { return YEAR_1000; };
    Check({time.Resolve({findTime, findTime}), value}, zone);
  } catch (const CommandError&) {
  }
  return 0;
}
