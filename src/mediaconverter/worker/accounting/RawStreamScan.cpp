#include "mediaconverter/worker/accounting/RawStreamScan.h"

#include "mediaconverter/ByteOrder.h"
#include "mediaconverter/worker/accounting/AudioFrameGrammar.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace worker {

namespace {

using mediaconverter::bigEndian;

bool startsWith(std::span<const std::uint8_t> bytes, std::string_view text) {
    return bytes.size() >= text.size() &&
           std::equal(text.begin(), text.end(), bytes.begin(),
                      [](char letter, std::uint8_t byte) { return static_cast<std::uint8_t>(letter) == byte; });
}

}  // namespace

/// After a metadata tag and the header of FLAC (RFC 9639, section 8), AMR (RFC 4867, section 5) or AU.
std::int64_t RawStreamScan::startOfStream() {
    constexpr std::string_view narrow = "#!AMR\n";
    constexpr std::string_view wide = "#!AMR-WB\n";
    std::int64_t position = audioTagLength(view_, 0).value_or(0);
    const auto bytes = view_.at(position, 16);
    if (startsWith(bytes, narrow) || startsWith(bytes, wide)) {
        return position + static_cast<std::int64_t>(startsWith(bytes, narrow) ? narrow.size() : wide.size());
    }
    if (startsWith(bytes, ".snd")) {
        return static_cast<std::int64_t>(bigEndian(bytes, 4, 4));
    }
    if (!startsWith(bytes, "fLaC")) {
        return view_.firstNonZero(position);
    }
    return startOfFlac(position + 4);
}

std::int64_t RawStreamScan::startOfFlac(std::int64_t position) {
    constexpr std::size_t blockHeader = 4;
    constexpr std::size_t samplesAt = 13;  // with four bits of the field before
    constexpr std::size_t samplesWidth = 5;
    for (bool isLast = false; !isLast && position < view_.size();) {
        const auto block = view_.at(position, blockHeader + samplesAt + samplesWidth);
        if (block.size() < blockHeader) {
            break;
        }
        const bool isStreamInfo = (block[0] & 0x7FU) == 0;
        if (isStreamInfo && block.size() == blockHeader + samplesAt + samplesWidth) {
            const std::uint64_t field = bigEndian(block, blockHeader + samplesAt, samplesWidth);
            flacSamples_ = static_cast<std::int64_t>(field & 0xF'FFFF'FFFFU);
        }
        isLast = (block[0] & 0x80U) != 0;
        position += static_cast<std::int64_t>(blockHeader) + static_cast<std::int64_t>(bigEndian(block, 1, 3));
    }
    return position;
}

void RawStreamScan::addDelivered(const AVPacket& packet, const AVStream& stream) {
    if (stream.codecpar->codec_id == AV_CODEC_ID_FLAC &&
        !flacNumbers_.follows({packet.data, static_cast<std::size_t>(packet.size)})) {
        const std::int64_t position = std::max<std::int64_t>(packet.pos, 0);
        ledger_.addLost(position, position, "frames are missing here: their numbers jump");
    }
}

Corrections RawStreamScan::corrections() {
    constexpr std::int64_t leastTail = 256;
    const std::int64_t end = hasStartCodes_ ? view_.endBeforeZeros() : view_.size();
    if (end == 0 || view_.size() - end < leastTail) {
        return {};
    }
    end_ = end;
    ledger_.addZeroTail(view_.size() - end);
    return {{}, end};
}

void RawStreamScan::finish() {
    const std::int64_t start = startOfStream();
    if (start > view_.size()) {
        ledger_.addLost(0, view_.size(), "a header that points beyond the end");
    }
    std::int64_t end = end_;
    for (const std::int64_t tag : {std::int64_t{128}, std::int64_t{32}}) {
        if (end - tag > start && audioTagLength(view_, end - tag) == tag) {
            end -= tag;
        }
    }
    bytes_ = std::max<std::int64_t>(end - start, 0);
    ledger_.addPayload(0, bytes_);
    if (flacSamples_ > flacNumbers_.samples()) {
        ledger_.addLost(view_.size(), view_.size(),
                        "the header says " + std::to_string(flacSamples_) + " samples, but there are " +
                            std::to_string(flacNumbers_.samples()));
    }
}

std::vector<Expectation> RawStreamScan::expectations(const AVFormatContext& format) const {
    if (format.nb_streams == 0) {
        return {};
    }
    // The end of the file may cut a sample of a fixed size.
    const std::int64_t frame = std::max(format.streams[0]->codecpar->block_align, 1);
    return {{0, -1, bytes_ / frame * frame}};
}

}  // namespace worker
