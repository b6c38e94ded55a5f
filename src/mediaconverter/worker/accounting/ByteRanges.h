#pragma once

#include <cstdint>
#include <vector>

namespace worker {

struct ByteRange {
    std::int64_t start = 0;
    std::int64_t end = 0;
};

/// A set of bytes, added in any order.
class ByteRanges {
public:
    void add(std::int64_t start, std::int64_t end);

    /// The parts of `whole` that are not in the set, in order. Once sorted, takes time only for the ranges inside
    /// `whole`.
    std::vector<ByteRange> missingIn(ByteRange whole);

private:
    void sort();

    std::vector<ByteRange> ranges_;
    bool isSorted_ = true;
};

}  // namespace worker
