#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "timeseries/date/date.h"

TEST(Date, Placeholder) {}
