#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace mediaconverter {

/// The big-endian number in the `width` bytes, at most eight, that start at `at`. They must exist.
inline std::uint64_t bigEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t width) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes.subspan(at, width)) {
        value = value << 8U | byte;
    }
    return value;
}

/// Like bigEndian(), lowest byte first.
inline std::uint64_t littleEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t index = width; index > 0; --index) {
        value = value << 8U | bytes[at + index - 1];
    }
    return value;
}

/// Writes the number to the `width` bytes, at most eight, that start at `at`, highest byte first. They must exist.
inline void putBigEndian(std::span<std::uint8_t> bytes, std::size_t at, std::size_t width, std::uint64_t value) {
    for (std::size_t index = 0; index < width; ++index) {
        bytes[at + index] = static_cast<std::uint8_t>(value >> 8U * (width - 1 - index));
    }
}

/// Appends the number in `width` bytes, at most eight, highest byte first.
inline void appendBigEndian(std::vector<std::uint8_t>& bytes, std::size_t width, std::uint64_t value) {
    bytes.resize(bytes.size() + width);
    putBigEndian(bytes, bytes.size() - width, width, value);
}

}  // namespace mediaconverter
