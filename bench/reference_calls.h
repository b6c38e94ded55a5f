#pragma once

#include <cstdint>

/// Does nothing, in another unit, with the arguments of a trace call.
std::int32_t emptyCall(const char* module, const char* format, ...);
