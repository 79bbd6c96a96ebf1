#include "timeseries/rrd/tool/sanitizer.h"

#include "timeseries/rrd/tool/header_converter.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

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
