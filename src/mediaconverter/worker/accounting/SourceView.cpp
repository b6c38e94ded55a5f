#include "mediaconverter/worker/accounting/SourceView.h"

#include "mediaconverter/worker/reading/SourceReader.h"

#include <algorithm>

namespace worker {

namespace {

/// Read after a jump, and when one read continues the last. Headers are small and payloads are skipped.
constexpr std::size_t firstStep = 512;
constexpr std::size_t mostStep = std::size_t{64} * 1024;

std::span<const std::uint8_t> part(std::span<const std::uint8_t> bytes, std::int64_t start, std::int64_t position,
                                   std::size_t length) {
    if (position < start ||
        position - start + static_cast<std::int64_t>(length) > static_cast<std::int64_t>(bytes.size())) {
        return {};
    }
    return bytes.subspan(static_cast<std::size_t>(position - start), length);
}

}  // namespace

std::int64_t SourceView::size() const {
    return reader_.size();
}

void SourceView::lend(std::int64_t position, std::span<const std::uint8_t> bytes) {
    lentPosition_ = position;
    lent_ = bytes;
}

std::span<const std::uint8_t> SourceView::at(std::int64_t position, std::size_t length) {
    if (position < 0 || position >= size()) {
        return {};
    }
    length = std::min(length, mostBytes);
    length = static_cast<std::size_t>(std::min(static_cast<std::int64_t>(length), size() - position));
    if (const auto lent = part(lent_, lentPosition_, position, length); !lent.empty()) {
        return lent;
    }
    if (const auto read = part(buffer_, bufferPosition_, position, length); !read.empty()) {
        return read;
    }
    return readAt(position, length);
}

std::span<const std::uint8_t> SourceView::readAt(std::int64_t position, std::size_t length) {
    const std::int64_t end = bufferPosition_ + static_cast<std::int64_t>(buffer_.size());
    const bool goesOn = !buffer_.empty() && position >= bufferPosition_ && position <= end;
    const std::size_t step = goesOn ? std::min(buffer_.size() * 2, mostStep) : firstStep;
    const auto left = static_cast<std::size_t>(std::min<std::int64_t>(size() - position, mostBytes));
    buffer_.resize(std::min(std::max(length, step), left));
    buffer_.resize(reader_.peek(position, buffer_.data(), buffer_.size()));
    bufferPosition_ = position;
    return std::span<const std::uint8_t>(buffer_).first(std::min(length, buffer_.size()));
}

std::int64_t SourceView::firstNonZero(std::int64_t position) {
    while (position < size()) {
        const auto bytes = at(position, mostStep);
        const auto found = std::find_if(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte != 0; });
        if (bytes.empty() || found != bytes.end()) {
            return position + (found - bytes.begin());
        }
        position += static_cast<std::int64_t>(bytes.size());
    }
    return size();
}

std::int64_t SourceView::endBeforeZeros() {
    std::int64_t end = size();
    while (end > 0) {
        const std::int64_t start = std::max<std::int64_t>(end - static_cast<std::int64_t>(mostStep), 0);
        const auto bytes = at(start, static_cast<std::size_t>(end - start));
        const auto last = std::find_if(bytes.rbegin(), bytes.rend(), [](std::uint8_t byte) { return byte != 0; });
        end -= last - bytes.rbegin();
        if (last != bytes.rend() || bytes.empty()) {
            break;
        }
    }
    return end;
}

}  // namespace worker
