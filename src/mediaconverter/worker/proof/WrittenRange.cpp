#include "mediaconverter/worker/proof/WrittenRange.h"

#include "mediaconverter/worker/proof/TrackDigest.h"

#include <algorithm>
#include <vector>

namespace worker {

namespace {

constexpr std::int64_t blockSize = std::int64_t{64} * 1024;

}  // namespace

WrittenRange::WrittenRange(std::int64_t start, std::initializer_list<std::span<const std::uint8_t>> parts)
    : start_(start) {
    ByteDigest digest;
    for (const auto& part : parts) {
        digest.add(part);
        length_ += static_cast<std::int64_t>(part.size());
    }
    digest_ = digest.value();
}

bool WrittenRange::isIn(const SourceReader& file) const {
    std::vector<std::uint8_t> block(static_cast<std::size_t>(std::min(blockSize, length_)));
    ByteDigest digest;
    for (std::int64_t at = 0; at < length_;) {
        const auto wanted = static_cast<std::size_t>(std::min(blockSize, length_ - at));
        const std::size_t have = file.peek(start_ + at, block.data(), wanted);
        if (have == 0) {
            return false;
        }
        digest.add(std::span(block).first(have));
        at += static_cast<std::int64_t>(have);
    }
    return digest.value() == digest_;
}

}  // namespace worker
