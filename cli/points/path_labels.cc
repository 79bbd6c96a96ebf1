#include "points/path_labels.h"

#include <set>

#include "base/command_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Splits a text at separators, into so many parts at most; the last one has the rest.
std::vector<std::string> Split(const std::string& text, char separator, std::size_t most) {
  std::vector<std::string> parts;
  std::size_t begin = 0;
  std::size_t end = text.find(separator);
  while (parts.size() + 1 < most && end != std::string::npos) {
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
    end = text.find(separator, begin);
  }
  parts.push_back(text.substr(begin));
  return parts;
}

void RequireName(const std::string& name, const std::string& text, std::set<std::string>& known) {
  constexpr char CHARACTERS[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
  const bool isName = !name.empty() && name.front() > '9' &&
                      name.find_first_not_of(CHARACTERS) == std::string::npos;
  if (!isName) {
    throw UsageError(text,
                     "its names have letters, digits and '_', none of them begins with a digit, "
                     "and '/' or '-' stands between them");
  }
  if (name == ID_LABEL || name == SOURCE_LABEL || name == CONSOLIDATION_LABEL) {
    throw UsageError(text, "the label " + name + " is given by the command itself");
  }
  if (!known.insert(name).second) {
    throw UsageError(text, "the label " + name + " is given twice");
  }
}

}  // namespace

PathLabels::PathLabels(const std::string& text) {
  std::set<std::string> known;
  for (const std::string& component : Split(text, '/', text.size() + 1)) {
    names.push_back(Split(component, '-', component.size() + 1));
    for (const std::string& name : names.back()) {
      RequireName(name, text, known);
    }
  }
}

Labels PathLabels::Read(const std::string& path) const {
  if (names.empty()) {
    return {{PATH_LABEL, path}};
  }
  constexpr std::size_t ENDING_SIZE = 4;
  Labels labels;
  const std::vector<std::string> components =
      Split(path.substr(0, path.size() - ENDING_SIZE), '/', names.size());
  for (std::size_t i = 0; i < components.size(); ++i) {
    const std::vector<std::string> values = Split(components[i], '-', names[i].size());
    for (std::size_t j = 0; j < values.size(); ++j) {
      if (!values[j].empty()) {
        labels[names[i][j]] = values[j];
      }
    }
  }
  return labels;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
