// Parts of the command line that a transcript cannot reach, called directly.

#include <gtest/gtest.h>

#include <sstream>

#include "error/command_error.h"
#include "error/last_error.h"
#include "input/csv_reader.h"
#include "support/log_capture.h"
#include "timeseries/date/date.h"

namespace {

using namespace nvx::TimeSeriesDatabase::CommandLine;

// Input of which the disk can read no more than the given text.
class BrokenInput : public std::stringbuf {
 public:
  explicit BrokenInput(const std::string& text) : std::stringbuf(text) {}

 private:
  int_type underflow() override {
    const int_type next = std::stringbuf::underflow();
    return next != traits_type::eof() ? next : throw std::runtime_error("the disk");
  }
};

TEST(CsvReader, TakesAFailedReadForNoEnd) {
  BrokenInput buffer("time,value\n1,2.5\n2,");
  std::istream input(&buffer);
  CsvReader reader(input, "file", std::nullopt, cctz::utc_time_zone());
  EXPECT_EQ(reader.Read(), std::pair(1LL, 2.5));
  try {
    reader.Read();
    ADD_FAILURE() << "read on";
  } catch (const CommandError& error) {
    EXPECT_EQ(error.GetText(), "file: cannot be read (IoError, 9)");
  }
}

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
