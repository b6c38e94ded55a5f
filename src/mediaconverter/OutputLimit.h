#pragma once

#include <algorithm>
#include <cstdint>

namespace mediaconverter {

/// The most bytes that the MP4 of a source of this size may take: re-encoded audio and video can take more room than
/// before, but not without bound.
constexpr std::uint64_t outputLimit(std::int64_t sourceSize) {
    constexpr std::uint64_t anyRecording = std::uint64_t{1} << 30U;
    constexpr std::uint64_t mostGrowth = 64;
    return std::max(anyRecording, static_cast<std::uint64_t>(std::max<std::int64_t>(sourceSize, 0)) * mostGrowth);
}

}  // namespace mediaconverter
