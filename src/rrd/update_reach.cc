#include "rrd/update_reach.h"

#include <algorithm>

#include "rrd/file_header.h"
#include "rrd/prediction.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

std::uint64_t CountRows(const std::string& header, const HeaderLayout& layout,
                        const stat_head_t& head) {
  std::uint64_t count = 0;
  for (unsigned long i = 0; i < head.rra_cnt; ++i) {
    count += ReadStructure<rra_def_t>(header, layout.archives, i).row_cnt;
  }
  return count;
}

// The rows of an archive after its newest one that the samples may fill. One more does no harm.
std::uint64_t CountRowsToCome(const std::string& header, const HeaderLayout& layout,
                              const stat_head_t& head, const rra_def_t& archive,
                              long long lastTime) {
  const auto rowLength =
      static_cast<long long>(head.pdp_step) * static_cast<long long>(archive.pdp_cnt);
  const long long lastUpdate = ReadLastUpdate(header, layout);
  const long long passed = std::max(lastTime, lastUpdate) / rowLength - lastUpdate / rowLength;
  return std::min<std::uint64_t>(static_cast<std::uint64_t>(passed) + 1, archive.row_cnt);
}

// The RRD library smooths and resets whole predictions, in old files beyond their own archive.
bool HasPrediction(const std::string& header, const HeaderLayout& layout, const stat_head_t& head) {
  for (unsigned long i = 0; i < head.rra_cnt; ++i) {
    if (IsPrediction(ReadStructure<rra_def_t>(header, layout.archives, i).cf_nam)) {
      return true;
    }
  }
  return false;
}

// Neither header ends before `end`.
bool IsSame(const std::string& lhs, const std::string& rhs, std::uint64_t begin,
            std::uint64_t end) {
  return std::equal(lhs.data() + begin, lhs.data() + end, rhs.data() + begin);
}

// The rows of an archive, the first of which follows the last.
struct Ring {
  std::uint64_t start;
  std::uint64_t rowSize;
  std::uint64_t rowCount;
  std::uint64_t next;    // the row after the newest one
  std::uint64_t toCome;  // rows
};

std::vector<Ring> ListRings(const std::string& header, const HeaderLayout& layout,
                            const stat_head_t& head, long long lastTime) {
  const std::uint64_t rowSize = head.ds_cnt * sizeof(rrd_value_t);
  std::vector<Ring> rings;
  std::uint64_t start = layout.end;
  for (unsigned long i = 0; i < head.rra_cnt; ++i) {
    const auto archive = ReadStructure<rra_def_t>(header, layout.archives, i);
    const std::uint64_t next =
        (ReadStructure<rra_ptr_t>(header, layout.positions, i).cur_row + std::uint64_t{1}) %
        archive.row_cnt;
    rings.push_back({start, rowSize, archive.row_cnt, next,
                     CountRowsToCome(header, layout, head, archive, lastTime)});
    start += archive.row_cnt * rowSize;
  }
  return rings;
}

void AddRows(const Ring& ring, std::uint64_t first, std::uint64_t count,
             std::vector<Extent>& extents) {
  const std::uint64_t beforeEnd = std::min(count, ring.rowCount - first);
  extents.push_back({ring.start + first * ring.rowSize, beforeEnd * ring.rowSize});
  if (beforeEnd < count) {
    extents.push_back({ring.start, (count - beforeEnd) * ring.rowSize});
  }
}

}  // namespace

std::vector<Extent> FindRowsBefore(const std::string& header, long long lastTime) {
  constexpr std::uint64_t MOST = 64;
  const auto head = ReadStructure<stat_head_t>(header, 0);
  const HeaderLayout layout(head, GetLiveHeadSize(head));
  std::vector<Extent> extents;
  if (!HasPrediction(header, layout, head)) {
    for (const Ring& ring : ListRings(header, layout, head, lastTime)) {
      const std::uint64_t count = std::min(MOST, ring.rowCount - ring.toCome);
      AddRows(ring, (ring.next + ring.rowCount - count) % ring.rowCount, count, extents);
    }
  }
  return extents;
}

std::vector<Extent> FindReach(const std::string& header, long long lastTime) {
  const auto head = ReadStructure<stat_head_t>(header, 0);
  const HeaderLayout layout(head, GetLiveHeadSize(head));
  if (HasPrediction(header, layout, head)) {
    const std::uint64_t rowSize = head.ds_cnt * sizeof(rrd_value_t);
    const std::uint64_t end = layout.end + CountRows(header, layout, head) * rowSize;
    return {{layout.liveHead, end - layout.liveHead}};
  }
  std::vector<Extent> extents = {{layout.liveHead, layout.end - layout.liveHead}};
  for (const Ring& ring : ListRings(header, layout, head, lastTime)) {
    AddRows(ring, ring.next, ring.toCome, extents);
  }
  return extents;
}

bool IsWithinReach(const std::string& header, long long lastTime, const std::string& now) {
  const auto head = ReadStructure<stat_head_t>(header, 0);
  const HeaderLayout layout(head, GetLiveHeadSize(head));
  // unreached: fewer bytes than the header has, which no journal asks about
  if (now.size() < layout.end || !IsSame(header, now, 0, layout.dataSources) ||
      !IsSame(header, now, layout.archives, layout.liveHead)) {
    return false;
  }
  const long long lastUpdate = ReadLastUpdate(now, layout);
  if (lastUpdate < ReadLastUpdate(header, layout) || lastUpdate > lastTime) {
    return false;
  }
  for (unsigned long i = 0; i < head.rra_cnt; ++i) {
    const auto archive = ReadStructure<rra_def_t>(header, layout.archives, i);
    const std::uint64_t former = ReadStructure<rra_ptr_t>(header, layout.positions, i).cur_row;
    const std::uint64_t row = ReadStructure<rra_ptr_t>(now, layout.positions, i).cur_row;
    // The RRD library counts one row too far before it starts at the first row again.
    const std::uint64_t advance = (row + archive.row_cnt - former) % archive.row_cnt;
    if (row > archive.row_cnt ||
        advance > CountRowsToCome(header, layout, head, archive, lastTime)) {
      return false;
    }
  }
  return true;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
