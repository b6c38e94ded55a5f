#pragma once

#include <cstdint>
#include <string>

namespace ktrtrace {

/// How grave a line is; `off` is above every line.
enum class TraceLevel { debug, info, warning, error, off };

/// The level of a line, from the caller's bits (1 debug, 2 info, 4 warning, 8 error). Of several bits the gravest
/// counts; without any known bit it is an info.
TraceLevel levelOfBits(std::uint64_t bits);

/// The least level that is written, from its name: "debug", "info", "warning", "error" or "off", in any case. Anything
/// else, null included, is "info".
TraceLevel levelOfName(const char* name);

/// The level's name in lower case; never null.
const char* nameOf(TraceLevel level);

}  // namespace ktrtrace
