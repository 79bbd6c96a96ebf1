#pragma once

#include <sstream>
#include <string>

#include "support/legacy_file.h"

// Makes the changes of a table of refused files: size=BYTES, OFFSET=NUMBER of 32 bits and
// OFFSET:TEXT.
inline std::string Change(std::string bytes, const std::string& changes) {
  std::istringstream words(changes);
  for (std::string word; words >> word;) {
    const std::size_t at = word.find_first_of("=:");
    const std::string place = word.substr(0, at);
    const std::string value = word.substr(at + 1);
    if (word[at] == ':') {
      bytes.replace(std::stoul(place), value.size(), value);
    } else if (place == "size") {
      bytes.resize(std::stoul(value));
    } else {
      Put32(bytes, std::stoul(place), static_cast<std::uint32_t>(std::stoul(value)));
    }
  }
  return bytes;
}
