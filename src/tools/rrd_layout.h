#pragma once

// An RRD file of version 0003, as RRDtool writes it on 32-bit ARM: the structures of its
// rrd_format.h with 4-byte longs, doubles aligned to 8 bytes and the low byte of a number first.
//
//   stat_head_t  1
//   ds_def_t     ds_cnt
//   rra_def_t    rra_cnt
//   live_head_t  1                 holds the one time_t of the file
//   pdp_prep_t   ds_cnt
//   cdp_prep_t   ds_cnt * rra_cnt
//   rra_ptr_t    rra_cnt
//   double       ds_cnt * the sum of row_cnt of all archives
//
// The width of time_t changes the live head and nothing else, so all that follows it lies 8 bytes
// further on in the new layout. The structures here consist of bytes, so that on any machine they
// have the sizes of the file and no alignment.

#include <cstddef>
#include <cstdint>

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

struct LittleEndian32 {
  unsigned char bytes[4];

  constexpr std::uint32_t Get() const {
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
  }
};

struct stat_head_t {
  char cookie[4];   // "RRD"
  char version[5];  // "0003"
  unsigned char padding_version[7];
  unsigned char float_cookie[8];
  LittleEndian32 ds_cnt;   // data sources
  LittleEndian32 rra_cnt;  // archives
  LittleEndian32 pdp_step;
  unsigned char padding_step[4];
  unsigned char par[10][8];
};
static_assert(sizeof(stat_head_t) == 120);
static_assert(offsetof(stat_head_t, version) == 4);
static_assert(offsetof(stat_head_t, float_cookie) == 16);
static_assert(offsetof(stat_head_t, ds_cnt) == 24);
static_assert(offsetof(stat_head_t, rra_cnt) == 28);
static_assert(offsetof(stat_head_t, pdp_step) == 32);
static_assert(offsetof(stat_head_t, par) == 40);

struct ds_def_t {
  unsigned char content[120];
};
static_assert(sizeof(ds_def_t) == 120);

struct rra_def_t {
  char cf_nam[20];
  LittleEndian32 row_cnt;  // rows, of one value per data source
  LittleEndian32 pdp_cnt;
  unsigned char padding[4];
  unsigned char par[10][8];
};
static_assert(sizeof(rra_def_t) == 112);
static_assert(offsetof(rra_def_t, row_cnt) == 20);
static_assert(offsetof(rra_def_t, pdp_cnt) == 24);
static_assert(offsetof(rra_def_t, par) == 32);

struct legacy_live_head_t {
  LittleEndian32 last_up;  // seconds since the epoch
  LittleEndian32 last_up_usec;
};
static_assert(sizeof(legacy_live_head_t) == 8);
static_assert(offsetof(legacy_live_head_t, last_up_usec) == 4);

struct live_head_t {
  LittleEndian32 last_up;
  LittleEndian32 last_up_high;
  LittleEndian32 last_up_usec;
  unsigned char padding[4];
};
static_assert(sizeof(live_head_t) == 16);
static_assert(offsetof(live_head_t, last_up_high) == 4);
static_assert(offsetof(live_head_t, last_up_usec) == 8);

struct pdp_prep_t {
  unsigned char content[112];
};
static_assert(sizeof(pdp_prep_t) == 112);

struct cdp_prep_t {
  unsigned char content[80];
};
static_assert(sizeof(cdp_prep_t) == 80);

struct rra_ptr_t {
  LittleEndian32 cur_row;
};
static_assert(sizeof(rra_ptr_t) == 4);

inline constexpr std::uint64_t VALUE_SIZE = 8;

// Where the archive definitions begin.
constexpr std::uint64_t RraDefOffset(std::uint64_t dsCount) {
  return sizeof(stat_head_t) + dsCount * sizeof(ds_def_t);
}

// Where the live head begins.
constexpr std::uint64_t LiveHeadOffset(std::uint64_t dsCount, std::uint64_t rraCount) {
  return RraDefOffset(dsCount) + rraCount * sizeof(rra_def_t);
}

// The whole header, with a live head of the type LiveHead.
template <typename LiveHead>
constexpr std::uint64_t HeaderSize(std::uint64_t dsCount, std::uint64_t rraCount) {
  return LiveHeadOffset(dsCount, rraCount) + sizeof(LiveHead) +
         dsCount * (sizeof(pdp_prep_t) + rraCount * sizeof(cdp_prep_t)) +
         rraCount * sizeof(rra_ptr_t);
}
static_assert(HeaderSize<legacy_live_head_t>(1, 1) == 556);
static_assert(HeaderSize<live_head_t>(2, 3) == 1428);

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
