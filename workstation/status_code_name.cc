#include "nvx/workstation/status_code_name.h"

namespace nvx::Workstation {

using nv::kora::StatusCode;

const char* StatusCodeToString(StatusCode code) {
  switch (code) {
    case StatusCode::Success:
      return "Success";
    case StatusCode::Failure:
      return "Failure";
    case StatusCode::NotFound:
      return "NotFound";
    case StatusCode::Unavailable:
      return "Unavailable";
    case StatusCode::NothingToDo:
      return "NothingToDo";
    case StatusCode::IoError:
      return "IoError";
    case StatusCode::EndOfIteration:
      return "EndOfIteration";
    case StatusCode::NullPointer:
      return "NullPointer";
    case StatusCode::InvalidArgument:
      return "InvalidArgument";
    case StatusCode::CannotOpen:
      return "CannotOpen";
    case StatusCode::OutOfMemory:
      return "OutOfMemory";
    case StatusCode::OutOfRange:
      return "OutOfRange";
    case StatusCode::PartialData:
      return "PartialData";
  }
  return "status";
}

}  // namespace nvx::Workstation
