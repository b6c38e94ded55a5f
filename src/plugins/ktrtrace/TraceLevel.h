#pragma once

#include <cstdint>
#include <string>

namespace ktrtrace {

/// The severity of a line; `off` is above every line.
enum class TraceLevel { debug, info, warning, error, off };

/// The level of a line, from the caller's bits (1 debug, 2 info, 4 warning, 8 error). Of several bits the most severe
/// counts; without any known bit the level is info.
TraceLevel levelOfBits(std::uint64_t bits);

/// The lowest level that is written, from its name: "debug", "info", "warning", "error" or "off", in any case. Anything
/// else, including null, is "info".
TraceLevel levelOfName(const char* name);

/// The level's name in lower case; never null.
const char* nameOf(TraceLevel level);

}  // namespace ktrtrace
