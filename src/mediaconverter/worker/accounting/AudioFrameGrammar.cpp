#include "mediaconverter/worker/accounting/AudioFrameGrammar.h"

#include "mediaconverter/ByteOrder.h"
#include "mediaconverter/worker/accounting/AudioFrames.h"

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

std::optional<std::int64_t> audioTagLength(SourceView& view, std::int64_t position) {
    constexpr std::int64_t id3Header = 10;
    constexpr std::int64_t oldId3 = 128;
    constexpr std::int64_t apeHeader = 32;
    const auto bytes = view.at(position, apeHeader);
    if (startsWith(bytes, "ID3") && bytes.size() >= static_cast<std::size_t>(id3Header)) {
        // Seven bits of each byte count (ID3v2.4, 3.1).
        std::int64_t size = 0;
        for (std::size_t at = 6; at < 10; ++at) {
            size = size << 7U | (bytes[at] & 0x7FU);
        }
        return id3Header + size + ((bytes[5] & 0x10U) != 0 ? id3Header : 0);
    }
    if (startsWith(bytes, "TAG") && view.size() - position == oldId3) {
        return oldId3;
    }
    if (startsWith(bytes, "APETAGEX") && bytes.size() == static_cast<std::size_t>(apeHeader)) {
        const auto size = static_cast<std::int64_t>(mediaconverter::littleEndian(bytes, 12, 4));
        const bool isHeader = (bytes[23] & 0x20U) != 0;
        return isHeader ? apeHeader + size : apeHeader;
    }
    return std::nullopt;
}

bool AudioFrameGrammar::canStart(std::uint8_t byte) const {
    const bool isAc3 = codec_ == AV_CODEC_ID_AC3 || codec_ == AV_CODEC_ID_EAC3;
    return byte == (isAc3 ? 0x0B : 0xFF);
}

std::optional<Unit> AudioFrameGrammar::unitAt(SourceView& view, std::int64_t position) {
    Unit unit;
    unit.start = position;
    if (const auto tag = audioTagLength(view, position)) {
        unit.length = *tag;
        return unit;
    }
    return guessAt(view, position);
}

std::optional<Unit> AudioFrameGrammar::guessAt(SourceView& view, std::int64_t position) {
    const auto bytes = view.at(position, audioFrameHeader);
    const auto length = audioFrameLength(codec_, bytes);
    Unit unit;
    unit.start = position;
    if (!length) {
        // Bytes too few for a header are the start of a frame.
        unit.length = audioFrameHeader;
        const bool isStart = !bytes.empty() && bytes.size() < audioFrameHeader && canStart(bytes[0]);
        return isStart ? std::optional(unit) : std::nullopt;
    }
    unit.length = static_cast<std::int64_t>(*length);
    unit.payload = unit.length;
    return unit;
}

/// The first frame of an MP3 may describe the others and contain no audio.
bool AudioFrameGrammar::isDescription(SourceView& view, const Unit& unit) const {
    constexpr std::size_t mostBefore = 64;
    if (codec_ != AV_CODEC_ID_MP3) {
        return false;
    }
    const auto bytes = view.at(unit.start, std::min<std::size_t>(mostBefore, static_cast<std::size_t>(unit.length)));
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return text.find("Xing") != text.npos || text.find("Info") != text.npos || text.find("VBRI") != text.npos;
}

void AudioFrameGrammar::accept(SourceView& view, const Unit& unit, Ledger& ledger) {
    if (unit.payload < 0) {
        return;
    }
    const bool isFirst = !hasFrames_;
    hasFrames_ = true;
    if (!isFirst && isDescription(view, unit)) {
        ledger.addLost(unit.start, unit.start, "another recording begins here");
    } else if (!isDescription(view, unit)) {
        ledger.addPayload(0, unit.payload);
    }
}

std::vector<Expectation> AudioFrameGrammar::expectations(const Ledger& ledger, const AVFormatContext& format) const {
    const auto payload = ledger.payloads().find(0);
    if (payload == ledger.payloads().end() || format.nb_streams == 0) {
        return {};
    }
    return {{0, -1, payload->second.bytes}};
}

}  // namespace worker
