#include "output/message.h"

#include <algorithm>
#include <iostream>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

bool IsControl(char character) {
  return static_cast<unsigned char>(character) < ' ' || character == '\x7f';
}

}  // namespace

std::string WithoutControls(std::string text) {
  std::replace_if(text.begin(), text.end(), IsControl, '?');
  return text;
}

void PrintMessage(const std::string& text) {
  std::cerr << "nvx-timeseries: " << WithoutControls(text) << '\n';
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
