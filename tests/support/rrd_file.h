#pragma once

#define RRD_EXPORT_DEPRECATED
#include <rrd.h>
#include <rrd_format.h>

#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

// An RRD file of this machine, written field by field, so that it may have any content.
struct RrdFileBytes {
  struct Archive {
    std::string function;
    unsigned long rows;
    unsigned long stepsPerRow;
  };

  unsigned long sources = 1;
  std::vector<Archive> archives = {{"LAST", 3, 1}};
  unsigned long step = 60;
  long lastUpdate = 1700005400;
  std::string version = "0003";
  std::string type = "GAUGE";

  // With 1.5 in every row.
  std::string Make() const {
    std::string bytes;
    stat_head_t head{};
    std::memcpy(head.cookie, RRD_COOKIE, sizeof head.cookie);
    version.copy(head.version, sizeof head.version);
    head.float_cookie = FLOAT_COOKIE;
    head.ds_cnt = sources;
    head.rra_cnt = archives.size();
    head.pdp_step = step;
    Append(bytes, head);
    ds_def_t source{};
    std::strcpy(source.ds_nam, "element");
    type.copy(source.dst, sizeof source.dst);
    source.par[DS_mrhb_cnt].u_cnt = 120;
    Append(bytes, source, sources);
    unsigned long rows = 0;
    for (const Archive& archive : archives) {
      rra_def_t definition{};
      archive.function.copy(definition.cf_nam, sizeof definition.cf_nam);
      definition.row_cnt = archive.rows;
      definition.pdp_cnt = archive.stepsPerRow;
      Append(bytes, definition);
      rows += archive.rows;
    }
    live_head_t liveHead{};
    liveHead.last_up = lastUpdate;
    if (version < "0003") {
      Append(bytes, liveHead.last_up);
    } else {
      Append(bytes, liveHead);
    }
    Append(bytes, pdp_prep_t{"U", {}}, sources);
    Append(bytes, cdp_prep_t{}, sources * archives.size());
    Append(bytes, rra_ptr_t{}, archives.size());
    Append(bytes, 1.5, sources * rows);
    return bytes;
  }

 private:
  template <typename Structure>
  static void Append(std::string& bytes, const Structure& structure, unsigned long count = 1) {
    for (; count > 0; --count) {
      bytes.append(reinterpret_cast<const char*>(&structure), sizeof structure);
    }
  }
};
