// What the workstation's host platform does beyond what every platform must.

#include <gtest/gtest.h>

#include <string>

#include "nvx/root_logger.h"
#include "support/log_capture.h"

namespace {

TEST(RootLogger, WritesAStampedLineToStandardErrorUnlessToldOtherwise) {
  auto& logger = nvx::Log::RootLogger::GetInstance();
  testing::internal::CaptureStderr();
  logger.Print(nv::kora::KoraLogLevel::Information, "[%lu] text", 1UL);
  const std::string line = testing::internal::GetCapturedStderr();
  const std::string pattern = "dddd-dd-ddTdd:dd:dd.dddZ info [1] text\n";
  ASSERT_EQ(line.size(), pattern.size());
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    EXPECT_TRUE(pattern[i] == 'd' ? std::isdigit(line[i]) != 0 : line[i] == pattern[i]) << line;
  }

  LogCapture log;
  logger.Print(nv::kora::KoraLogLevel::Error, "[%lu]%s", pthread_self(),
               "a\nb\r\x1b\x7f\xc2\x9b\x85\xe0\x80\x9b \u2028\u00e9\u20ac\U0001f600\xe9");
  EXPECT_EQ(log.Take(), Lines{"3a?b?????\xe0?? ?\u00e9\u20ac\U0001f600\xe9"});
  logger.SetDestination(logger.SetDestination(nullptr));  // back to what it was
  testing::internal::CaptureStderr();
  logger.Print(nv::kora::KoraLogLevel::Information, "[%lu] text", 1UL);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
