#include "timeseries/rrd/tool/sanitizer.h"

#include <string>

#include "timeseries/rrd/tool/header_converter.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {
namespace {

// The name of this class in log lines, though it writes none.
[[maybe_unused]] const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::Tool::Sanitizer";

}  // namespace

Sanitizer::~Sanitizer() = default;

StatusCode Sanitizer::Convert(const std::string& source, const std::string& destination) {
  HeaderConverter converter(source, destination);
  return converter.Convert();
}

StatusCode Sanitizer::Check(const std::string& source) const {
  const std::string destination;
  HeaderConverter converter(source, destination);
  return converter.Check();
}

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
