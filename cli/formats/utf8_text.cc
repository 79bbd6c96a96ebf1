#include "formats/utf8_text.h"

#include <nlohmann/json.hpp>

namespace nvx::TimeSeriesDatabase::CommandLine {

bool IsUtf8(const std::string& text) {
  try {
    return !nlohmann::json(text).dump().empty();
  } catch (const nlohmann::json::type_error&) {  // of a text that is not
    return false;
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
