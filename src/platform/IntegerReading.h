#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// The one rule for reading a number from a text: the leading decimal integer, after optional white space and an
/// optional sign. 0 if there is none; clamped to the smallest or largest signed 32-bit value on overflow. So "12ab"
/// reads as 12 and "abc" as 0. Any thread.
std::int32_t integerReading(std::string_view text);

/// As above; an absent text reads as 0.
std::int32_t integerReading(const std::optional<std::string>& text);

}  // namespace platform
