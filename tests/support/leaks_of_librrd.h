#pragma once

// The RRD library leaks a few bytes for each old file, and for each call that fails. Include this
// once in a program. NOLINTNEXTLINE(bugprone-reserved-identifier,misc-definitions-in-headers): the
// sanitizer calls it
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:librrd";
}
