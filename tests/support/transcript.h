#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/run_program.h"

// A command of a transcript and what it answers.
struct Step {
  int line = 0;  // of the command
  std::string command;
  std::string answer;
};

// Adds a line of a command, "line" or "line => STATUS message".
inline void AddCommandLine(const std::string& line, Step& step) {
  const std::size_t arrow = line.find(" => ");
  step.command += line.substr(0, arrow);
  if (arrow != std::string::npos) {
    step.answer = "! nvx-timeseries: " + line.substr(arrow + 6) + "\n? " + line[arrow + 4] + '\n';
  }
}

// Reads the form that tests/data/README.md describes.
inline std::vector<Step> ReadTranscript(const std::string& path) {
  std::vector<Step> steps;
  std::ifstream file(path);
  int number = 0;
  std::string blankLines;  // they belong to an answer only when it goes on behind them
  for (std::string line; std::getline(file, line);) {
    ++number;
    const std::string mark = line.substr(0, 2);
    if (line.empty()) {
      blankLines += '\n';
      continue;
    }
    if (steps.empty() && mark != "$ " && mark != "# ") {
      throw std::runtime_error(path + ": an answer without a command");
    }
    if (mark == "$ ") {
      steps.push_back({number, "", ""});
      AddCommandLine(line.substr(2), steps.back());
    } else if (mark == "> ") {
      AddCommandLine('\n' + line.substr(2), steps.back());
    } else if (mark != "# ") {
      steps.back().answer += blankLines + line + '\n';
    }
    blankLines.clear();
  }
  return steps;
}

// The answer as a transcript has it.
inline std::string Show(const ProgramResult& result) {
  std::string answer = result.output;
  bool startsLine = true;
  for (const char character : result.error) {
    answer += (startsLine ? "! " : "") + std::string(1, character);
    startsLine = character == '\n';
  }
  if (result.status != 0) {
    answer += "? " + std::to_string(result.status) + '\n';
  }
  return answer;
}

inline void ExpectAnswer(const std::string& transcript, const Step& step,
                         const std::string& answer) {
  if (answer != step.answer) {
    ADD_FAILURE_AT(transcript.c_str(), step.line) << "$ " << step.command << "\nexpected:\n"
                                                  << step.answer << "actual:\n"
                                                  << answer;
  }
}
