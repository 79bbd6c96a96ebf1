#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/temporary_directory.h"
#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase {

// Each test has a file of its own.
class OneFile : public testing::Test {
 protected:
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("topo_x.rrd");
  const RrdClient client{};
};

}  // namespace nvx::TimeSeriesDatabase
