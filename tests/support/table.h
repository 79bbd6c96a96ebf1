#pragma once

#include <gtest/gtest.h>

#include <charconv>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

// A row of a table of cases, whose fields are read by their heading.
struct Row {
  const std::string& operator[](const std::string& heading) const {
    const auto field = fields.find(heading);
    return field != fields.end() ? field->second
                                 : throw std::out_of_range("no column '" + heading + "'");
  }

  template <typename Number = int>
  Number GetNumber(const std::string& heading) const {
    const std::string& field = (*this)[heading];
    const char* const end = field.data() + field.size();
    Number number{};
    const auto [last, error] = std::from_chars(field.data(), end, number);
    return error == std::errc() && last == end
               ? number
               : throw std::invalid_argument("no number in '" + heading + "'");
  }

  std::string file;
  int line = 0;
  std::string text;
  std::map<std::string, std::string> fields;
};

inline std::vector<std::string> SplitFields(const std::string& line, char separator = '|') {
  std::vector<std::string> fields;
  for (std::size_t start = 0; start <= line.size();) {
    const std::size_t end = std::min(line.find(separator, start), line.size());
    const std::string field = line.substr(start, end - start);
    const std::size_t first = std::min(field.find_first_not_of(' '), field.size());
    fields.push_back(field.substr(first, field.find_last_not_of(' ') + 1 - first));
    start = end + 1;
  }
  return fields;
}

// Reads a table of tests/data: fields between "|", without the blanks around them, below a line of
// headings; a line that starts with "#" is a comment.
inline std::vector<Row> ReadTable(const std::string& name) {
  const std::string path = std::filesystem::path(TEST_DATA) / name;
  std::ifstream file(path);
  std::vector<std::string> headings;
  std::vector<Row> rows;
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    if (line.empty() || line[0] == '#') {
      continue;
    }
    const std::vector<std::string> fields = SplitFields(line);
    if (headings.empty()) {
      headings = fields;
    } else if (fields.size() != headings.size()) {
      ADD_FAILURE_AT(path.c_str(), number)
          << fields.size() << " fields instead of " << headings.size() << ": " << line;
    } else {
      rows.push_back({path, number, line, {}});
      for (std::size_t i = 0; i < fields.size(); ++i) {
        rows.back().fields[headings[i]] = fields[i];
      }
    }
  }
  EXPECT_FALSE(rows.empty()) << path;
  return rows;
}

// Checks every row of a table. A failure names the row's file, line and text.
template <typename Check>
void ForEachRow(const std::string& table, Check check) {
  for (const Row& row : ReadTable(table)) {
    const testing::ScopedTrace place(row.file.c_str(), row.line, row.text);
    try {
      check(row);
    } catch (const std::exception& exception) {
      ADD_FAILURE() << exception.what();
    }
  }
}
