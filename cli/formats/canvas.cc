#include "formats/canvas.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char HOLLOW = 'o';

// The UTF-8 of a Braille pattern, U+2800 and the bits of its dots.
std::string EncodeBraille(unsigned char dots) {
  return {'\xe2', static_cast<char>(0xa0 | (dots >> 6)), static_cast<char>(0x80 | (dots & 0x3f))};
}

}  // namespace

Canvas::Canvas(std::size_t columnCount, std::size_t rowCount, Drawing canvasDrawing)
    : columns(columnCount),
      drawing(canvasDrawing),
      dotColumns(IsBraille() ? 2 : 1),
      dotRows(IsBraille() ? 4 : 1),
      cells(columnCount * rowCount) {}

long long Canvas::GetWidth() const { return static_cast<long long>(columns) * dotColumns; }

long long Canvas::GetHeight() const {
  return static_cast<long long>(cells.size() / columns) * dotRows;
}

void Canvas::DrawLine(const Dot& from, const Dot& to, std::size_t curve) {
  const long long width = to.x - from.x;
  const long long height = to.y - from.y;
  const long long count = std::max({std::llabs(width), std::llabs(height), 1LL});
  for (long long i = 0; i <= count; ++i) {
    SetDot({from.x + width * i / count, from.y + height * i / count}, curve);
  }
}

// Together with its neighbours in the same character.
void Canvas::DrawPoint(const Dot& dot, std::size_t curve) {
  SetDot(dot, curve);
  if (IsBraille()) {
    SetDot({dot.x ^ 1, dot.y}, curve);
    SetDot({dot.x, dot.y ^ 1}, curve);
    SetDot({dot.x ^ 1, dot.y ^ 1}, curve);
  }
}

void Canvas::DrawHollowPoint(const Dot& dot, std::size_t curve) {
  SetDot(dot, curve).isHollow = true;
}

Canvas::Cell& Canvas::SetDot(const Dot& dot, std::size_t curve) {
  constexpr unsigned char BITS[2][4] = {{0x01, 0x02, 0x04, 0x40}, {0x08, 0x10, 0x20, 0x80}};
  Cell& cell = cells[static_cast<std::size_t>(dot.y / dotRows) * columns +
                     static_cast<std::size_t>(dot.x / dotColumns)];
  cell.dots |= BITS[dot.x % dotColumns][dot.y % dotRows];
  cell.curve = curve;
  return cell;
}

std::string Canvas::GetRow(std::size_t row) const {
  auto begin = cells.begin() + static_cast<std::ptrdiff_t>(row * columns);
  auto end = begin + static_cast<std::ptrdiff_t>(columns);
  while (end != begin && (end - 1)->dots == 0) {
    --end;
  }
  std::string text;
  std::for_each(begin, end, [&](const Cell& cell) { text += Format(cell); });
  return text;
}

std::string Canvas::Format(const Cell& cell) const {
  if (cell.dots == 0) {
    return " ";
  }
  if (cell.isHollow) {
    return Colour(std::string(1, HOLLOW), cell.curve);
  }
  return IsBraille() ? Colour(EncodeBraille(cell.dots), cell.curve) : GetSample(cell.curve);
}

std::string Canvas::GetSample(std::size_t curve) const {
  constexpr std::string_view MARKS = "*+x#@%&$";
  return IsBraille() ? Colour(EncodeBraille(0x12) + EncodeBraille(0x12), curve)
                     : std::string(1, MARKS[curve % MARKS.size()]);
}

std::string Canvas::Colour(const std::string& text, std::size_t curve) const {
  constexpr std::size_t COLOUR_COUNT = 6;
  if (drawing != Drawing::ColouredBraille) {
    return text;
  }
  return "\x1b[3" + std::to_string(1 + curve % COLOUR_COUNT) + "m" + text + "\x1b[0m";
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
