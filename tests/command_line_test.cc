// Parts of the command line that a transcript cannot reach, called directly.

#include <gtest/gtest.h>

#include "base/last_error.h"
#include "support/log_capture.h"
#include "timeseries/date/date.h"

namespace {

using namespace nvx::TimeSeriesDatabase::CommandLine;

TEST(LastError, KeepsErrorsPassesTheRestOnAndPutsTheLogBack) {
  const auto& logger = nvx::Log::RootLogger::GetInstance();
  LogCapture log(0);
  {
    const LastError lastError;
    nvx::TimeSeriesDatabase::Date::Date().IsTimeZoneSupported("None");  // fails with a line
    EXPECT_EQ(lastError.GetMessage(), "Unsupported time zone [None]");
    logger.Print(nv::kora::KoraLogLevel::Information, "information");
    EXPECT_EQ(log.Take().size(), 1u);
  }
  EXPECT_EQ(logger.GetLevel(), nv::kora::KoraLogLevel::None);
  logger.Print(nv::kora::KoraLogLevel::Error, "[1][x] y: z");
  EXPECT_EQ(log.Take().size(), 1u);
}

}  // namespace
