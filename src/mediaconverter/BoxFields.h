#pragma once

#include "mediaconverter/ByteOrder.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace mediaconverter {

/// Reads the numbers of a box one after the other, and remembers whether all of them existed.
class BoxFields {
public:
    /// `bytes` outlive this.
    explicit BoxFields(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    /// The big-endian number in the next `width` bytes, at most eight; 0 if there are fewer.
    std::uint64_t next(std::size_t width) {
        if (bytes_.size() < width) {
            isShort_ = true;
            return 0;
        }
        const std::uint64_t value = bigEndian(bytes_, 0, width);
        bytes_ = bytes_.subspan(width);
        return value;
    }

    /// Whether a number did not exist.
    bool isShort() const { return isShort_; }

    /// Number of bytes that have not been read.
    std::size_t left() const { return bytes_.size(); }

    /// Whether the numbers read so far are all there are.
    bool areExact() const { return !isShort_ && bytes_.empty(); }

private:
    std::span<const std::uint8_t> bytes_;
    bool isShort_ = false;
};

}  // namespace mediaconverter
