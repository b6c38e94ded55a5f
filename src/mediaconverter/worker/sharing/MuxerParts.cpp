#include "mediaconverter/worker/sharing/MuxerParts.h"

#include "mediaconverter/Boxes.h"
#include "mediaconverter/worker/Failure.h"

#include <algorithm>
#include <span>
#include <utility>

namespace worker {

namespace {

/// The box has two words and one for each brand.
constexpr std::int64_t mostFileType = 64;

}  // namespace

bool MuxerParts::keep(std::int64_t position, const std::uint8_t* bytes, std::size_t length) {
    keepFileType(position, bytes, length);
    if (phase_ == Phase::data) {
        return false;
    }
    if (position < tailStart_) {
        phase_ = Phase::sealed;
        return false;
    }
    if (phase_ == Phase::sealed && !indexStart_) {
        indexStart_ = position;
    }
    const auto offset = static_cast<std::size_t>(position - tailStart_);
    tail_.resize(std::max(tail_.size(), offset + length));
    std::copy_n(bytes, length, tail_.begin() + static_cast<std::ptrdiff_t>(offset));
    return true;
}

void MuxerParts::keepFileType(std::int64_t position, const std::uint8_t* bytes, std::size_t length) {
    // The muxer writes the size of the box last.
    if (position >= 0 && position < mostFileType) {
        const auto offset = static_cast<std::size_t>(position);
        const std::size_t kept = std::min(length, static_cast<std::size_t>(mostFileType) - offset);
        fileType_.resize(std::max(fileType_.size(), offset + kept));
        std::copy_n(bytes, kept, fileType_.begin() + position);
    }
}

void MuxerParts::endData(std::int64_t position) {
    phase_ = Phase::tail;
    tailStart_ = position;
}

std::vector<std::uint8_t> MuxerParts::fileType() const {
    const auto header = mediaconverter::readBoxHeader(fileType_);
    if (!header || header->size < header->length || header->size > fileType_.size()) {
        throw Failure(ConversionError::containerFailed, "the file type is not where it should be");
    }
    return {fileType_.begin(), fileType_.begin() + static_cast<std::ptrdiff_t>(header->size)};
}

MuxerParts::Tail MuxerParts::releaseTail() {
    // Whatever is kept lies after the start of the tail, the index too.
    const auto dataLength = indexStart_.value_or(tailStart_) - tailStart_;
    const auto header =
        indexStart_ ? mediaconverter::readBoxHeader(std::span(tail_).subspan(static_cast<std::size_t>(dataLength)))
                    : std::nullopt;
    if (!header || !header->is("moov")) {
        throw Failure(ConversionError::containerFailed, "the index is not where it should be");
    }
    Tail tail;
    tail.start = tailStart_;
    tail.data.assign(tail_.begin(), tail_.begin() + dataLength);
    tail_.erase(tail_.begin(), tail_.begin() + dataLength);
    tail.index = std::move(tail_);
    return tail;
}

}  // namespace worker
