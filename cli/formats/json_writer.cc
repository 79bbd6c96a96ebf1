#include "formats/json_writer.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/command_error.h"
#include "base/time_text.h"
#include "base/value_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

nlohmann::ordered_json MakeValue(const Value& value) {
  if (!value.isAsked || std::isnan(value.number)) {
    return nullptr;
  }
  if (std::isinf(value.number)) {
    return std::string(ShortestText(value.number).Get());
  }
  return value.number;
}

}  // namespace

JsonWriter::JsonWriter(AnswerShape answerShape) : PointWriter(std::move(answerShape)) {
  RequireDistinctLabels("JSON");
}

void JsonWriter::Begin(const Series& next, int /*round*/, std::string& /*text*/) { series = next; }

void JsonWriter::Append(const Piece& piece, std::string& text) {
  for (std::size_t row = 0; row < piece.GetRowCount(); ++row) {
    const long long time = piece.GetTime(row);
    nlohmann::ordered_json object;
    if (!shape.isForSeries) {
      object["date"] = FormatTime(time, shape.zone);
    }
    object["timestamp"] = time;
    if (shape.isForSeries || shape.isSeveral) {
      object["id"] = series.zeltId;
    }
    if (!shape.isForSeries && !series.source.empty()) {
      object["source"] = series.source;
    }
    for (const auto& [name, label] : shape.isForSeries ? series.labels : Labels()) {
      object.emplace(name, label);
    }
    for (std::size_t i = 0; i < piece.GetColumnCount(); ++i) {
      object[shape.names[i]] = MakeValue(piece.GetRow(row)[i]);
    }
    if (shape.hasQuality) {
      object["quality"] = GetQualityText(piece.IsGood(row));
    }
    text += shape.isForSeries ? "" : hasPoints ? ",\n  " : "[\n  ";
    text += object.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    text += shape.isForSeries ? "\n" : "";
    hasPoints = true;
  }
}

void JsonWriter::Finish(std::string& text) {
  text += shape.isForSeries ? "" : hasPoints ? "\n]\n" : "[\n]\n";
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
