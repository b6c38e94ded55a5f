#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace worker {

/// Follows the numbers in the headers of FLAC frames (RFC 9639, section 9.1): each counts the frames before it, or the
/// samples where the frames differ in length.
class FlacNumbers {
public:
    /// The next frame in the order of the file. False if its number jumps, so that earlier frames are missing.
    bool follows(std::span<const std::uint8_t> frame);

    /// Samples of all frames so far, per channel, including those before the first frame according to its number.
    std::int64_t samples() const { return samples_; }

private:
    std::optional<std::int64_t> next_;
    std::int64_t samples_ = 0;
};

}  // namespace worker
