#include <sstream>

#include "base/command_error.h"
#include "base/terminal.h"
#include "formats/csv_writer.h"
#include "formats/curves.h"
#include "formats/json_writer.h"
#include "formats/line_protocol.h"
#include "formats/open_metrics.h"
#include "formats/point_writer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

using Print = void (*)(const Curves& curves, const AnswerShape& shape, std::ostream& output);

// Short names for the columns of a table: only what differs.
std::string NameColumn(const Curve& curve, const AnswerShape& shape) {
  if (!shape.isSeveral && !curve.isOfSeveral) {
    return curve.function;
  }
  const std::string id = WithoutControls(curve.name);
  return shape.functions.size() == 1 ? id : id + ' ' + curve.function;
}

void PrintAsTable(const Curves& curves, const AnswerShape& shape, std::ostream& output) {
  const bool isAlone = curves.size() == 1 && !curves.front().isOfSeveral;
  if (!shape.isSeveral && isAlone) {
    const unsigned int columns = shape.isOnTerminal ? GetTerminalColumns() : 0;
    return PrintTable(curves, shape.unit, columns, output);
  }
  std::vector<std::string> names;
  for (const Curve& curve : curves) {
    names.push_back(NameColumn(curve, shape));
  }
  PrintTable(curves, names, shape.unit, output);
}

// The full names of curves, for a picture that stands alone.
std::vector<std::string> NameCurves(const Curves& curves) {
  std::vector<std::string> names;
  for (const Curve& curve : curves) {
    names.push_back(WithoutControls(curve.name) + ' ' + curve.function);
  }
  return names;
}

// Without colours, several curves need different marks.
Drawing ChooseDrawing(bool isSeveral, bool isOnTerminal) {
  if (!IsUtf8Locale() || (isSeveral && !(isOnTerminal && HasColours()))) {
    return Drawing::Marks;
  }
  return isSeveral ? Drawing::ColouredBraille : Drawing::Braille;
}

void PrintAsChart(const Curves& curves, const AnswerShape& shape, std::ostream& output) {
  constexpr unsigned int DEFAULT_COLUMNS = 80;
  constexpr unsigned int DEFAULT_ROWS = 24;
  const unsigned int columns = shape.isOnTerminal ? GetTerminalColumns() : 0;
  const unsigned int rows = shape.isOnTerminal ? GetTerminalRows() : 0;
  const ChartSize size{columns == 0 ? DEFAULT_COLUMNS : columns, rows == 0 ? DEFAULT_ROWS : rows};
  PrintChart(curves, NameCurves(curves), size, ChooseDrawing(curves.size() > 1, shape.isOnTerminal),
             output);
}

void PrintAsScript(const Curves& curves, const AnswerShape& /*shape*/, std::ostream& output) {
  PrintGnuplot(curves, NameCurves(curves), output);
}

// Writes all answers together at the end; nothing when there are none.
class CollectingWriter : public PointWriter {
 public:
  CollectingWriter(AnswerShape answerShape, Print printAll)
      : PointWriter(std::move(answerShape)), print(printAll) {}

  bool IsAtOnce() const override { return true; }

  void Begin(const Series& series, int /*round*/, std::string& /*text*/) override {
    begun.clear();
    const bool isOfSeveral = !series.source.empty();
    const std::string name = series.zeltId + (isOfSeveral ? ' ' + series.source : "");
    for (const std::string& function : shape.functions) {
      begun.push_back({name, isOfSeveral, function, {}});
    }
  }

  void Append(const Piece& piece, std::string& /*text*/) override {
    NumericalDataPoint point;
    point.date.timeZone = shape.zone;
    for (std::size_t row = 0; row < piece.GetRowCount(); ++row) {
      point.date.timestamp = piece.GetTime(row);
      for (std::size_t i = 0; i < begun.size(); ++i) {
        const Value& value = piece.GetRow(row)[i];
        if (value.isAsked) {
          point.value = value.number;
          point.quality = value.isGood;
          begun[i].points.push_back(point);
        }
      }
    }
  }

  void End() override {
    curves.insert(curves.end(), std::make_move_iterator(begun.begin()),
                  std::make_move_iterator(begun.end()));
  }

  void Finish(std::string& text) override {
    std::ostringstream output;
    if (!curves.empty()) {
      print(curves, shape, output);
    }
    text += output.str();
  }

 private:
  Print print;
  Curves begun;
  Curves curves;
};

}  // namespace

void PointWriter::RequireDistinctLabels(const std::string& format) const {
  std::vector<std::string> fields = shape.names;
  fields.insert(fields.end(), {"timestamp", "quality"});
  for (const std::string& field : fields) {
    if (shape.labels.count(field) > 0) {
      throw UsageError(field,
                       "is the name of another field in " + format + ", and cannot be a label");
    }
  }
}

void PointWriter::RefuseLabel(const Series& series, const std::string& key,
                              const std::string& value, const std::string& format) {
  throw CommandError(series.zeltId,
                     "the label " + key + '=' + value + " cannot be written in " + format);
}

std::unique_ptr<PointWriter> MakePointWriter(PointFormat format, const AnswerShape& shape) {
  switch (format) {
    case PointFormat::Csv:
      return std::make_unique<CsvWriter>(shape);
    case PointFormat::Json:
      return std::make_unique<JsonWriter>(shape);
    case PointFormat::Chart:
      return std::make_unique<CollectingWriter>(shape, PrintAsChart);
    case PointFormat::Gnuplot:
      return std::make_unique<CollectingWriter>(shape, PrintAsScript);
    case PointFormat::LineProtocol:
      return std::make_unique<LineProtocol>(shape);
    case PointFormat::OpenMetrics:
      return std::make_unique<OpenMetrics>(shape);
    case PointFormat::Table:
      break;
  }
  return std::make_unique<CollectingWriter>(shape, PrintAsTable);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
