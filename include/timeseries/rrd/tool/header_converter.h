#pragma once

#include <cstdint>
#include <string>

#include "timeseries/export.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

struct rra_def_t;

// One conversion of one file, with the codes of Sanitizer. The header is built in memory; the
// values are copied in pieces of 64 KiB.
class NVX_TIMESERIES_EXPORT HeaderConverter {
 public:
  // Keeps references to both paths, which must outlive the converter; temporaries do not compile.
  // Touches no file.
  HeaderConverter(const std::string& source, const std::string& destination);
  HeaderConverter(const std::string&& source, const std::string& destination) = delete;
  HeaderConverter(const std::string& source, const std::string&& destination) = delete;
  HeaderConverter(const std::string&& source, const std::string&& destination) = delete;
  HeaderConverter(const HeaderConverter&) = delete;
  HeaderConverter& operator=(const HeaderConverter&) = delete;

  // Closes both files.
  virtual ~HeaderConverter();

  // To be called once, and not after Check.
  StatusCode Convert();

  // Runs the steps of Convert that only read the source.
  StatusCode Check();

 private:
  NVX_TIMESERIES_HIDDEN StatusCode OpenFile();
  NVX_TIMESERIES_HIDDEN StatusCode GetRrdFileLayout();
  NVX_TIMESERIES_HIDDEN StatusCode CheckLimits() const;
  NVX_TIMESERIES_HIDDEN StatusCode ComputeDataSize();
  NVX_TIMESERIES_HIDDEN StatusCode ReadRraDefAndComputeDataSize(rra_def_t* buffer, int size,
                                                                int offset);
  NVX_TIMESERIES_HIDDEN StatusCode ComputeAndCheckHeaderSize();
  NVX_TIMESERIES_HIDDEN StatusCode BuildNewHeader();
  NVX_TIMESERIES_HIDDEN StatusCode ConvertHeader32();
  NVX_TIMESERIES_HIDDEN StatusCode CreateNewRrdFile();
  NVX_TIMESERIES_HIDDEN StatusCode WriteNewHeader() const;
  NVX_TIMESERIES_HIDDEN StatusCode CopyData() const;
  NVX_TIMESERIES_HIDDEN StatusCode Write(const void* data, unsigned int size) const;

  const std::string& sourcePath;
  const std::string& destinationPath;
  int sourceFd = -1;
  std::uint32_t fileSize = 0;
  std::uint32_t dsCount = 0;
  std::uint32_t rraCount = 0;
  std::uint32_t dataSize = 0;
  std::uint32_t newHeaderSize = 0;
  std::uint32_t legacyHeaderSize = 0;
  unsigned char* newHeader = nullptr;
  int destinationFd = -1;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
