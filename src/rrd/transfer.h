#pragma once

#include <cstdint>

namespace nvx::TimeSeriesDatabase::Rrd {

// Reads or writes all of the bytes at a place of an open file, or returns false.
bool ReadAll(int fd, char* data, std::uint64_t size, std::uint64_t offset);
bool WriteAll(int fd, const char* data, std::uint64_t size, std::uint64_t offset);

}  // namespace nvx::TimeSeriesDatabase::Rrd
