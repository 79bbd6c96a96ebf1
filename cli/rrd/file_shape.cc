#include "rrd/file_shape.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

std::string Count(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

// "2 things (a, b)"; of many, only the first ones are named.
template <typename Item, typename GetName>
std::string List(const std::vector<Item>& items, const std::string& thing, GetName getName) {
  constexpr std::size_t MAXIMUM_NAMED_COUNT = 8;
  std::string names;
  for (std::size_t i = 0; i < items.size() && i <= MAXIMUM_NAMED_COUNT; ++i) {
    names += (i == 0 ? "" : ", ") + (i == MAXIMUM_NAMED_COUNT ? "..." : getName(items[i]));
  }
  return Count(items.size(), thing) + " (" + names + ")";
}

}  // namespace

std::string DescribeShape(const Rrd::FileDescription& description) {
  return List(description.dataSources, "data source",
              [](const auto& source) { return source.name + " " + source.type; }) +
         ", " + List(description.archives, "archive", [](const auto& archive) {
           return archive.consolidation + " of " + Count(archive.stepsPerRow, "step");
         });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
