#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace platform {

/// Bytes that need not be UTF-8, such as a path in the file system's own encoding.
using Bytes = std::vector<std::uint8_t>;

/// One plain value of a notification. The alternatives are the bus's basic types (D-Bus signatures i u x t n q y d s b,
/// and ay for bytes), so that a value can be returned exactly as it arrived.
using UserInfoValue = std::variant<std::int32_t, std::uint32_t, std::int64_t, std::uint64_t, std::int16_t,
                                   std::uint16_t, std::uint8_t, double, std::string, bool, Bytes>;

using UserInfo = std::map<std::string, UserInfoValue>;

/// The value as a signed 32-bit number: integers by their lowest 32 bits, a double without its fraction and clamped
/// (not-a-number gives 0), a truth value as 0 or 1, a text or bytes by the integer reading.
std::int32_t integerValue(const UserInfoValue& value);

/// The value as a text: a string unchanged, bytes up to the first NUL; absent for numbers.
std::optional<std::string> textValue(const UserInfoValue& value);

}  // namespace platform
