#pragma once

namespace nv::kora {
enum class KoraLogLevel : unsigned char { Error = 3, Information = 6, Trace = 7 };
}
