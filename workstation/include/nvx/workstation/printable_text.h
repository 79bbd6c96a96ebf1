#pragma once

#include <string>

namespace nvx::Workstation {

// The text with "?" for each control character (C0, DEL, C1) and each line break of Unicode, so
// that it stays one line and does nothing to a terminal. UTF-8 is read as such; a byte that is not
// part of it and has the value of a C1 control is one.
__attribute__((visibility("default"))) std::string WithoutControls(const std::string& text);

}  // namespace nvx::Workstation
