#include "mediaconverter/worker/accounting/MatroskaLacing.h"

#include "mediaconverter/worker/accounting/EbmlElement.h"

#include <cstddef>
#include <numeric>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr unsigned xiph = 0x02;
constexpr unsigned fixedSize = 0x04;

/// The sum of bytes of 255 and the first smaller one. Advances `bytes`.
std::optional<std::int64_t> readXiphSize(Bytes& bytes) {
    std::int64_t size = 0;
    while (!bytes.empty()) {
        const std::uint8_t byte = bytes[0];
        bytes = bytes.subspan(1);
        size += byte;
        if (byte < 255) {
            return size;
        }
    }
    return std::nullopt;
}

/// The first is a number, the others are differences from the one before, offset by half their range. Advances `bytes`.
std::optional<std::int64_t> readEbmlSize(Bytes& bytes, std::optional<std::int64_t> before) {
    const auto number = readEbmlNumber(bytes);
    if (!number) {
        return std::nullopt;
    }
    bytes = bytes.subspan(number->width);
    const auto value = static_cast<std::int64_t>(number->value);
    const std::int64_t middle = (std::int64_t{1} << (7 * number->width - 1)) - 1;
    return before ? *before + value - middle : value;
}

}  // namespace

std::optional<std::vector<std::int64_t>> readLacing(Bytes content, unsigned lacing) {
    if (content.empty()) {
        return std::nullopt;
    }
    const std::size_t count = std::size_t{content[0]} + 1;
    Bytes rest = content.subspan(1);
    std::vector<std::int64_t> sizes;
    if (lacing == fixedSize) {
        if (rest.size() % count != 0) {
            return std::nullopt;
        }
        sizes.assign(count, static_cast<std::int64_t>(rest.size() / count));
        return sizes;
    }
    for (std::size_t index = 0; index + 1 < count; ++index) {
        const auto before = index > 0 ? std::optional(sizes.back()) : std::nullopt;
        const auto size = lacing == xiph ? readXiphSize(rest) : readEbmlSize(rest, before);
        if (!size || *size < 0 || *size > static_cast<std::int64_t>(content.size())) {
            return std::nullopt;
        }
        sizes.push_back(*size);
    }
    const std::int64_t sum = std::accumulate(sizes.begin(), sizes.end(), std::int64_t{0});
    const std::int64_t last = static_cast<std::int64_t>(rest.size()) - sum;
    if (last < 0) {
        return std::nullopt;
    }
    sizes.push_back(last);
    return sizes;
}

}  // namespace worker
