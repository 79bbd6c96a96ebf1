#pragma once

// Marks what the shared library exports; everything else in it is hidden, the private members of
// exported classes too.
#define NVX_TIMESERIES_EXPORT __attribute__((visibility("default")))
#define NVX_TIMESERIES_HIDDEN __attribute__((visibility("hidden")))
