#include "mediaconverter/worker/accounting/ByteRanges.h"

#include <algorithm>

namespace worker {

void ByteRanges::add(std::int64_t start, std::int64_t end) {
    if (start >= end) {
        return;
    }
    if (!ranges_.empty() && ranges_.back().end == start) {
        ranges_.back().end = end;
        return;
    }
    isSorted_ = isSorted_ && (ranges_.empty() || ranges_.back().end < start);
    ranges_.push_back({start, end});
}

void ByteRanges::sort() {
    if (isSorted_) {
        return;
    }
    std::sort(ranges_.begin(), ranges_.end(),
              [](const ByteRange& left, const ByteRange& right) { return left.start < right.start; });
    std::size_t last = 0;
    for (std::size_t index = 1; index < ranges_.size(); ++index) {
        if (ranges_[index].start <= ranges_[last].end) {
            ranges_[last].end = std::max(ranges_[last].end, ranges_[index].end);
        } else {
            ranges_[++last] = ranges_[index];
        }
    }
    ranges_.resize(last + 1);
    isSorted_ = true;
}

std::vector<ByteRange> ByteRanges::missingIn(ByteRange whole) {
    sort();
    std::vector<ByteRange> missing;
    auto range = std::upper_bound(ranges_.begin(), ranges_.end(), whole.start,
                                  [](std::int64_t start, const ByteRange& other) { return start < other.end; });
    std::int64_t at = whole.start;
    for (; range != ranges_.end() && range->start < whole.end; ++range) {
        if (range->start > at) {
            missing.push_back({at, range->start});
        }
        at = std::max(at, range->end);
    }
    if (at < whole.end) {
        missing.push_back({at, whole.end});
    }
    return missing;
}

}  // namespace worker
