#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// The rows of a table of cases in tests/data: fields between "|", without the blanks around them; a
// line that starts with "#" is a comment.
inline std::vector<std::vector<std::string>> ReadTable(const std::string& name) {
  std::ifstream file(TEST_DATA "/" + name);
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') {
      continue;
    }
    std::istringstream fields(line);
    rows.emplace_back();
    for (std::string field; std::getline(fields, field, '|');) {
      const std::size_t first = field.find_first_not_of(' ');
      const std::size_t last = field.find_last_not_of(' ');
      rows.back().push_back(first == std::string::npos ? ""
                                                       : field.substr(first, last + 1 - first));
    }
  }
  EXPECT_FALSE(rows.empty()) << name;
  return rows;
}
