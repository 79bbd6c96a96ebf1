#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase {

// Append a number as the RRD library reads it: an integer in decimal, a double with six digits
// after the point and without exponent ("%f" in the C locale, whatever the locale of the process).
void AppendNumber(std::string& text, long long number);
void AppendNumber(std::string& text, double number);

}  // namespace nvx::TimeSeriesDatabase
