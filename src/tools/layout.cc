#include "timeseries/rrd/tool/layout.h"

#include <algorithm>
#include <ctime>
#include <iterator>

#include "tools/layout_table.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {
namespace {

struct AlignedDouble {
  char character;
  double number;
};

// The machine's RRD library has the same widths as this library.
constexpr bool IsNative(const Machine& machine) {
  constexpr ByteOrder ORDER =
      __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ByteOrder::LowFirst : ByteOrder::HighFirst;
  return machine.longSize == sizeof(long) && machine.timeSize == sizeof(std::time_t) &&
         machine.doubleAlignment == offsetof(AlignedDouble, number) && machine.order == ORDER;
}

constexpr Layout FindNativeLayout() {
  const Machine* machine = LAYOUTS;
  while (!IsNative(*machine)) {
    ++machine;
  }
  return machine->layout;
}
constexpr Layout NATIVE_LAYOUT = FindNativeLayout();

}  // namespace

const char* GetLayoutName(Layout layout) {
  const auto* const found =
      std::find_if(std::begin(LAYOUTS), std::end(LAYOUTS),
                   [&](const Machine& machine) { return machine.layout == layout; });
  return found == std::end(LAYOUTS) ? "unknown" : found->name;
}

Layout GetNativeLayout() { return NATIVE_LAYOUT; }

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
