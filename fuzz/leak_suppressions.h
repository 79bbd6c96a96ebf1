#pragma once

// What the RRD library itself never gives back: a few bytes for each opening of a file of a version
// before 0003, and for a migration that fails.
extern "C" __attribute__((used, visibility("default"))) inline const char*
__lsan_default_suppressions() {
  return "leak:rrd_open\nleak:rrd_create_r2\n";
}
