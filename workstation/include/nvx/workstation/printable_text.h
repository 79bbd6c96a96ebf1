#pragma once

#include <string>

namespace nvx::Workstation {

// The text with "?" for each control character (C0, DEL, C1) and each Unicode line break, so that
// it stays one line and does nothing to a terminal. The text is read as UTF-8; a byte that is not
// valid UTF-8 and has the value of a C1 control counts as one.
__attribute__((visibility("default"))) std::string WithoutControls(const std::string& text);

}  // namespace nvx::Workstation
