#include "platform/UserInfo.h"

#include "platform/IntegerReading.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <type_traits>

namespace platform {

namespace {

std::int32_t truncated(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp(value, double{Limits::min()}, double{Limits::max()}));
}

std::string textOf(const Bytes& bytes) {
    // Path bytes often include the terminator that C programs append.
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)};
}

}  // namespace

std::int32_t integerValue(const UserInfoValue& value) {
    return std::visit(
        [](const auto& held) -> std::int32_t {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, double>) {
                return truncated(held);
            } else if constexpr (std::is_same_v<Held, std::string>) {
                return integerReading(std::string_view(held));
            } else if constexpr (std::is_same_v<Held, Bytes>) {
                return integerReading(std::string_view(textOf(held)));
            } else {
                return static_cast<std::int32_t>(held);
            }
        },
        value);
}

std::optional<std::string> textValue(const UserInfoValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        return *text;
    }
    if (const auto* bytes = std::get_if<Bytes>(&value)) {
        return textOf(*bytes);
    }
    return std::nullopt;
}

}  // namespace platform
