#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace worker {

/// The big-endian number in the `width` bytes, at most eight, that start at `at`. They must exist.
inline std::uint64_t bigEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t width) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes.subspan(at, width)) {
        value = value << 8U | byte;
    }
    return value;
}

}  // namespace worker
