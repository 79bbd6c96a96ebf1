#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "points/points.h"

// The ways to print the answers of files to one question.
namespace nvx::TimeSeriesDatabase::CommandLine {

// What the answers have in common.
struct AnswerShape {
  std::vector<std::string> functions = {"value"};  // of the series of each answer
  bool hasIds = false;  // the answers may be those of several data sources
};

// Prints answers one after the other.
class PointWriter {
 public:
  PointWriter() = default;
  PointWriter(const PointWriter&) = delete;
  PointWriter& operator=(const PointWriter&) = delete;
  virtual ~PointWriter() = default;

  // The answer of a data source, a series for each function.
  virtual void Add(const std::string& zeltId, std::vector<Points> series) = 0;

  // To be called behind the last answer, of which there may be none.
  virtual void Finish() = 0;
};

// A header, then a line for each date: date, timestamp, the id if there may be several, the value
// in the shortest form that reads back to the same double ("nan" for none), quality. Several
// functions have a column each, named after them, which is empty where one has no point; the
// quality is good when all values of the line are.
class CsvWriter : public PointWriter {
 public:
  CsvWriter(AnswerShape answerShape, std::ostream& textOutput)
      : shape(std::move(answerShape)), output(textOutput) {}
  void Add(const std::string& zeltId, std::vector<Points> series) override;
  void Finish() override { PrintHeader(); }

 private:
  void PrintHeader();

  AnswerShape shape;
  std::ostream& output;
  bool hasHeader = false;
};

// An array of objects with the names of the CSV columns; null for a value that is not finite.
class JsonWriter : public PointWriter {
 public:
  JsonWriter(AnswerShape answerShape, std::ostream& textOutput)
      : shape(std::move(answerShape)), output(textOutput) {}
  void Add(const std::string& zeltId, std::vector<Points> series) override;
  void Finish() override;

 private:
  AnswerShape shape;
  std::ostream& output;
  bool hasPoints = false;
};

// Prints all answers together, at the end; nothing when there is none.
class CollectingWriter : public PointWriter {
 public:
  using Print = std::function<void(const std::vector<Series>&, const AnswerShape&)>;

  CollectingWriter(AnswerShape answerShape, Print printAll)
      : shape(std::move(answerShape)), print(std::move(printAll)) {}
  void Add(const std::string& zeltId, std::vector<Points> series) override;
  void Finish() override {
    if (!all.empty()) {
      print(all, shape);
    }
  }

 private:
  AnswerShape shape;
  Print print;
  std::vector<Series> all;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
