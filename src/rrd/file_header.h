#pragma once

// rrd_format.h, which has the structures of files, cannot be included without it.
#define RRD_EXPORT_DEPRECATED
#include <rrd.h>
#include <rrd_format.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace nvx::TimeSeriesDatabase::Rrd {

// Where the parts of a file's header begin, computed from the counts at its start. The values of
// the archives follow at its end.
struct HeaderLayout {
  HeaderLayout(const stat_head_t& head, std::size_t liveHeadSize)
      : dataSources(sizeof(stat_head_t)),
        archives(dataSources + head.ds_cnt * sizeof(ds_def_t)),
        liveHead(archives + head.rra_cnt * sizeof(rra_def_t)),
        pendingSteps(liveHead + liveHeadSize),
        pendingRows(pendingSteps + head.ds_cnt * sizeof(pdp_prep_t)),
        positions(pendingRows + std::uint64_t{head.ds_cnt} * head.rra_cnt * sizeof(cdp_prep_t)),
        end(positions + head.rra_cnt * sizeof(rra_ptr_t)) {}

  std::uint64_t dataSources;
  std::uint64_t archives;
  std::uint64_t liveHead;
  std::uint64_t pendingSteps;
  std::uint64_t pendingRows;
  std::uint64_t positions;
  std::uint64_t end;
};

// The structure with this index in the array that begins at `offset` of a header.
template <typename Structure>
Structure ReadStructure(const std::string& header, std::uint64_t offset, std::uint64_t index = 0) {
  Structure structure;
  std::memcpy(&structure, header.data() + offset + index * sizeof(Structure), sizeof(Structure));
  return structure;
}

// The RRD library's names of versions begin with the third.
inline bool HasVersion(const stat_head_t& head, const char* version) {
  return std::strncmp(head.version, version, sizeof head.version) == 0;
}

inline bool IsVersionOld(const stat_head_t& head) {
  return HasVersion(head, "0001") || HasVersion(head, "0002");
}

// In versions without microseconds the live head has only the time.
inline std::size_t GetLiveHeadSize(const stat_head_t& head) {
  return IsVersionOld(head) ? sizeof(live_head_t::last_up) : sizeof(live_head_t);
}

inline long long ReadLastUpdate(const std::string& header, const HeaderLayout& layout) {
  return ReadStructure<decltype(live_head_t::last_up)>(header, layout.liveHead);
}

template <std::size_t size>
bool IsTerminated(const char (&text)[size]) {
  return std::memchr(text, '\0', size) != nullptr;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
