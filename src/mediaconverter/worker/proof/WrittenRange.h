#pragma once

#include "mediaconverter/worker/reading/SourceReader.h"

#include <cstdint>
#include <initializer_list>
#include <span>

namespace worker {

/// Remembers, in short, what was written to a range of a file.
class WrittenRange {
public:
    /// `parts`, one after the other, from `start` on.
    WrittenRange(std::int64_t start, std::initializer_list<std::span<const std::uint8_t>> parts);

    /// The range is now further back in the file.
    void moveBy(std::int64_t bytes) { start_ += bytes; }

    /// Whether the file holds it.
    bool isIn(const SourceReader& file) const;

private:
    std::int64_t start_;
    std::int64_t length_ = 0;
    std::uint64_t digest_ = 0;
};

}  // namespace worker
