#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// How a chart is drawn.
enum class Drawing {
  Marks,           // each curve with another character of ASCII
  Braille,         // with the dots of Braille patterns, eight a character
  ColouredBraille  // the same, each curve in another colour
};

// A grid of characters on which lines are drawn. Its dots, several a character with Braille, count
// from the left and from the top.
class Canvas {
 public:
  struct Dot {
    long long x;
    long long y;
  };

  Canvas(std::size_t columnCount, std::size_t rowCount, Drawing canvasDrawing);

  long long GetWidth() const;   // in dots
  long long GetHeight() const;  // in dots

  void DrawLine(const Dot& from, const Dot& to, std::size_t curve);

  // Draw a point that is seen on its own; a hollow one takes its whole character.
  void DrawPoint(const Dot& dot, std::size_t curve);
  void DrawHollowPoint(const Dot& dot, std::size_t curve);

  // A row of characters, without blanks at its end.
  std::string GetRow(std::size_t row) const;

  // What a curve is drawn with, for the legend.
  std::string GetSample(std::size_t curve) const;

 private:
  struct Cell {
    unsigned char dots = 0;
    bool isHollow = false;
    std::size_t curve = 0;
  };

  bool IsBraille() const { return drawing != Drawing::Marks; }
  Cell& SetDot(const Dot& dot, std::size_t curve);
  std::string Format(const Cell& cell) const;
  std::string Colour(const std::string& text, std::size_t curve) const;

  std::size_t columns;
  Drawing drawing;
  long long dotColumns;  // of a character
  long long dotRows;
  std::vector<Cell> cells;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
