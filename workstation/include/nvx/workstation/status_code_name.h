#pragma once

#include "nvx/status_code.h"

namespace nvx::Workstation {

// The enumerator's name, a static string; "status" for a value that has none.
__attribute__((visibility("default"))) const char* StatusCodeToString(nv::kora::StatusCode code);

}  // namespace nvx::Workstation
