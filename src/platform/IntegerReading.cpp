#include "platform/IntegerReading.h"

#include <algorithm>
#include <limits>

namespace platform {

namespace {

// Not std::isspace: its result depends on the locale, and the meaning of a launch argument must not.
bool isWhiteSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

std::int32_t integerReading(std::string_view text) {
    auto at = std::find_if_not(text.begin(), text.end(), isWhiteSpace);
    const bool negative = at != text.end() && *at == '-';
    if (at != text.end() && (*at == '-' || *at == '+')) {
        ++at;
    }
    // Counting downwards reaches the smallest value without an intermediate positive value that does not fit.
    constexpr std::int64_t smallest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
    std::int64_t value = 0;
    for (; at != text.end() && isDigit(*at); ++at) {
        value = std::max(value * 10 - (*at - '0'), smallest);
    }
    return static_cast<std::int32_t>(negative ? value : std::min(-value, largest));
}

std::int32_t integerReading(const std::optional<std::string>& text) {
    return text ? integerReading(std::string_view(*text)) : 0;
}

}  // namespace platform
