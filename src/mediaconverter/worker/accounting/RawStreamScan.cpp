#include "mediaconverter/worker/accounting/RawStreamScan.h"

#include "mediaconverter/worker/BigEndian.h"
#include "mediaconverter/worker/accounting/AudioFrameGrammar.h"

#include <algorithm>
#include <string_view>

namespace worker {

namespace {

bool startsWith(std::span<const std::uint8_t> bytes, std::string_view text) {
    return bytes.size() >= text.size() &&
           std::equal(text.begin(), text.end(), bytes.begin(),
                      [](char letter, std::uint8_t byte) { return static_cast<std::uint8_t>(letter) == byte; });
}

}  // namespace

/// After a tag with texts and what FLAC (RFC 9639, section 8), AMR (RFC 4867, section 5) or AU begin with.
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
    position += 4;
    for (bool isLast = false; !isLast && position < view_.size();) {
        const auto block = view_.at(position, 4);
        if (block.size() < 4) {
            break;
        }
        isLast = (block[0] & 0x80U) != 0;
        position += 4 + static_cast<std::int64_t>(bigEndian(block, 1, 3));
    }
    return position;
}

void RawStreamScan::finish() {
    const std::int64_t start = startOfStream();
    if (start > view_.size()) {
        ledger_.addLost(0, view_.size(), "a header that leads beyond the end");
    }
    std::int64_t end = view_.size();
    for (const std::int64_t tag : {std::int64_t{128}, std::int64_t{32}}) {
        if (end - tag > start && audioTagLength(view_, end - tag) == tag) {
            end -= tag;
        }
    }
    bytes_ = std::max<std::int64_t>(end - start, 0);
    ledger_.addPayload(0, start, bytes_);
}

std::vector<Expectation> RawStreamScan::expectations(const AVFormatContext& format) const {
    if (format.nb_streams == 0) {
        return {};
    }
    // The end may cut a sample of a fixed size.
    const std::int64_t frame = std::max(format.streams[0]->codecpar->block_align, 1);
    return {{0, -1, bytes_ / frame * frame}};
}

}  // namespace worker
