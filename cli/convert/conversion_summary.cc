#include "convert/conversion_summary.h"

#include <iostream>
#include <nlohmann/json.hpp>

#include "base/command_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

void ConversionSummary::AddConverted(const std::string& path, const std::string& note) {
  converted.push_back(path);
  if (!note.empty()) {
    notes.push_back({path, note});
  }
}

void ConversionSummary::AddNotConvertible(const std::string& path, const FileError& error,
                                          const std::string& layout) {
  notConvertible.push_back({path, error.what(), error.GetStatus()});
  if (!layout.empty()) {
    ++layoutCounts[layout];
  }
}

void ConversionSummary::AddFailed(const std::string& path, const FileError& error) {
  failed.push_back({path, error.what(), error.GetStatus()});
}

void ConversionSummary::PrintText() const {
  for (const Note& note : notes) {
    PrintMessage(note.path + ": " + note.text);
  }
  for (const auto* const problems : {&notConvertible, &failed}) {
    for (const Problem& problem : *problems) {
      PrintMessage(CommandError(problem.path, problem.reason, problem.status).GetText());
    }
  }
  if (isDryRun) {
    for (const std::string& path : converted) {
      std::cout << "would convert " << WithoutControls(path) << '\n';
    }
  }
  std::cout << (isDryRun ? "would be converted " : "converted          ") << converted.size()
            << "\nalready converted  " << alreadyConverted.size()  //
            << "\nnot convertible    " << notConvertible.size() << DescribeLayouts()
            << (isDryRun ? "\nwould fail         " : "\nfailed             ") << failed.size()
            << '\n';
}

void ConversionSummary::PrintJson() const {
  const auto list = [](const std::vector<Problem>& problems) {
    auto array = nlohmann::ordered_json::array();
    for (const Problem& problem : problems) {
      array.push_back({{"path", problem.path},
                       {"reason", problem.reason},
                       {"status", static_cast<int>(problem.status)}});
    }
    return array;
  };
  nlohmann::ordered_json object = {{"dryRun", isDryRun},
                                   {"converted", converted},
                                   {"alreadyConverted", alreadyConverted},
                                   {"notConvertible", list(notConvertible)},
                                   {"failed", list(failed)}};
  for (const Note& note : notes) {
    object["notes"].push_back({{"path", note.path}, {"text", note.text}});
  }
  constexpr int INDENT = 2;
  std::cout << object.dump(INDENT, ' ', true, nlohmann::json::error_handler_t::replace) << '\n';
}

// " (64bit: 2; i386: 1)", or nothing.
std::string ConversionSummary::DescribeLayouts() const {
  std::string text;
  for (const auto& [layout, count] : layoutCounts) {
    text += (text.empty() ? " (" : "; ") + layout + ": " + std::to_string(count);
  }
  return text.empty() ? "" : text + ")";
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
