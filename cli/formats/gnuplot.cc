#include "formats/curves.h"

#include <cmath>

#include "base/value_text.h"
#include "formats/time_axis.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// With more points, only those that stand alone or are bad are marked.
constexpr std::size_t MAXIMUM_SHOWN_POINTS = 100;

constexpr char STYLES[] =
    "set terminal pngcairo size 1000,500\n"
    "set grid\n"
    "set border 3\n"
    "set tics nomirror\n"
    "set key above left noenhanced\n";

// In single quotes gnuplot takes every character as it is, but for the quote, which is doubled.
// gnuplot does not understand two doubled quotes in a row; such quotes go into double quotes.
std::string Quote(const std::string& text) {
  const bool hasPair = text.find("''") != std::string::npos;
  std::string quoted = "'";
  for (const char character : text) {
    quoted += character != '\'' ? std::string(1, character) : hasPair ? "'.\"'\".'" : "''";
  }
  return quoted + '\'';
}

std::string Format(double value) { return std::string(ShortestText(value).Get()); }

bool IsOnLine(const Points& /*points*/, std::size_t /*index*/) { return true; }

// A good point without a line to it, or one of few points.
bool IsDot(const Points& points, std::size_t index) {
  const bool isAlone = !IsDrawn(points, index - 1) && !IsDrawn(points, index + 1);
  return points[index].quality && (isAlone || points.size() <= MAXIMUM_SHOWN_POINTS);
}

bool IsBad(const Points& points, std::size_t index) { return !points[index].quality; }

// The layers of each curve, from the bottom up.
struct Layer {
  const char* style;
  bool (*has)(const Points& points, std::size_t index);
};

constexpr Layer LAYERS[] = {
    {"lines linewidth 1.5", IsOnLine},
    {"points pointtype 7 pointsize 0.5", IsDot},
    {"points pointtype 6", IsBad},
};

bool IsShown(const Points& points, std::size_t index, const Layer& layer) {
  return IsDrawn(points, index) && layer.has(points, index);
}

bool IsEmpty(const Points& points, const Layer& layer) {
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (IsShown(points, i, layer)) {
      return false;
    }
  }
  return true;
}

class Script {
 public:
  Script(const Curves& scriptCurves, std::ostream& textOutput)
      : curves(scriptCurves), extent(FindExtent(curves)), output(textOutput) {}

  void Print(const std::vector<std::string>& names) {
    output << STYLES << (extent.hasInfinite ? "# infinite values are not drawn\n" : "");
    PrintRanges();
    PrintTicks();
    PrintChanges();
    PrintPlot(names);
    for (const Curve& one : curves) {
      for (const Layer& layer : LAYERS) {
        PrintData(one.points, layer);
      }
    }
  }

 private:
  // gnuplot warns of a range without width.
  void PrintRanges() {
    const long long first = extent.first.timestamp;
    const long long last = extent.last.timestamp;
    const long long margin = first == last ? 1 : 0;
    output << "set xrange [" << first - margin << ':' << last + margin << "]\n";
    if (!extent.HasValues()) {
      output << "set yrange [0:1]\n";
    } else if (extent.lowest == extent.highest) {
      const double distance = std::max(1.0, std::abs(extent.highest));
      output << "set yrange [" << Format(extent.lowest - distance) << ':'
             << Format(extent.highest + distance) << "]\n";
    }
  }

  void PrintTicks() {
    constexpr std::size_t MAXIMUM_TICK_COUNT = 12;
    output << "set xtics (";
    const char* separator = "";
    for (const Tick& tick : ListTicks(extent.first.timestamp, extent.last.timestamp,
                                      extent.first.timeZone, MAXIMUM_TICK_COUNT)) {
      output << separator << Quote(tick.label) << ' ' << tick.timestamp;
      separator = ", ";
    }
    output << ")\n"
           << "set xlabel " << Quote(extent.first.ToText() + " - " + extent.last.ToText()) << '\n';
  }

  void PrintChanges() {
    for (const Tick& change :
         ListClockChanges(extent.first.timestamp, extent.last.timestamp, extent.first.timeZone)) {
      output << "set arrow from " << change.timestamp << ", graph 0 to " << change.timestamp
             << ", graph 1 nohead dashtype 2 linecolor 'gray40'\n"
             << "set label " << Quote("clocks " + change.label) << " at " << change.timestamp
             << ", graph 0.97 offset 0.5 textcolor 'gray40'\n";
    }
  }

  // The data follow in the same order. gnuplot warns about a layer without points, but not about
  // NaN.
  void PrintPlot(const std::vector<std::string>& names) {
    const char* separator = "plot ";
    for (std::size_t i = 0; i < curves.size(); ++i) {
      const std::string style = " linetype " + std::to_string(i + 1);
      std::string title = " title " + Quote(names[i]);
      for (const Layer& layer : LAYERS) {
        const bool isEmpty = IsEmpty(curves[i].points, layer);
        if (!isEmpty || &layer == LAYERS) {
          output << separator << (isEmpty ? "NaN" : "'-'") << " with " << layer.style << style
                 << title;
        }
        separator = ", \\\n  ";
        title = " notitle";
      }
    }
    output << '\n';
  }

  // A blank line breaks a line.
  void PrintData(const Points& points, const Layer& layer) {
    if (IsEmpty(points, layer)) {
      return;
    }
    bool hasBreak = true;
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (IsShown(points, i, layer)) {
        output << points[i].date.timestamp << ' ' << ShortestText(points[i].value).Get() << '\n';
        hasBreak = false;
      } else if (!hasBreak) {
        output << '\n';
        hasBreak = true;
      }
    }
    output << "e\n";
  }

  const Curves& curves;
  Extent extent;
  std::ostream& output;
};

}  // namespace

void PrintGnuplot(const Curves& curves, const std::vector<std::string>& names,
                  std::ostream& output) {
  Script(curves, output).Print(names);
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
