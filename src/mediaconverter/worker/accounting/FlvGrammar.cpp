#include "mediaconverter/worker/accounting/FlvGrammar.h"

#include "mediaconverter/ByteOrder.h"

namespace worker {

namespace {

using mediaconverter::bigEndian;

constexpr std::uint8_t audio = 8;
constexpr std::uint8_t video = 9;
constexpr std::uint8_t script = 18;

constexpr std::int64_t tagHeader = 11;
constexpr std::int64_t sizeAfter = 4;

bool isTagStart(std::span<const std::uint8_t> bytes) {
    return bytes.size() >= static_cast<std::size_t>(tagHeader) &&
           (bytes[0] == audio || bytes[0] == video || bytes[0] == script) && bigEndian(bytes, 8, 3) == 0;
}

/// Number of bytes in a tag before the part that the library turns into a packet; none if it makes no packet.
std::optional<std::int64_t> contentHeader(std::uint8_t kind, std::uint8_t first, std::uint8_t second) {
    constexpr unsigned aac = 10;
    constexpr unsigned command = 5;
    if (kind == audio) {
        const bool isAac = first >> 4U == aac;
        return isAac && second == 0 ? std::nullopt : std::optional<std::int64_t>(isAac ? 2 : 1);
    }
    constexpr unsigned vp6 = 4;
    constexpr unsigned vp6Alpha = 5;
    constexpr unsigned avc = 7;
    const unsigned codec = first & 0x0FU;
    if (kind != video || first >> 4U == command || (codec == avc && second != 1)) {
        return std::nullopt;
    }
    return codec == avc ? 5 : codec == vp6 || codec == vp6Alpha ? 2 : 1;
}

}  // namespace

std::int64_t FlvGrammar::firstTag(SourceView& view) {
    const auto bytes = view.at(0, 9);
    const std::int64_t header = bytes.size() < 9 ? 9 : static_cast<std::int64_t>(bigEndian(bytes, 5, 4));
    return std::max<std::int64_t>(header, 9) + sizeAfter;
}

bool FlvGrammar::canStart(std::uint8_t byte) const {
    return byte == audio || byte == video || byte == script;
}

std::optional<Unit> FlvGrammar::unitAt(SourceView& view, std::int64_t position) {
    const auto bytes = view.at(position, static_cast<std::size_t>(tagHeader) + 2);
    Unit unit;
    unit.start = position;
    if (bytes.size() >= 3 && bytes[0] == 'F' && bytes[1] == 'L' && bytes[2] == 'V') {
        unit.length = 9;
        unit.endsRecording = true;
        return unit;
    }
    if (!isTagStart(bytes)) {
        // Bytes too few for a tag are the start of one.
        unit.length = tagHeader;
        return bytes.size() < static_cast<std::size_t>(tagHeader) && !bytes.empty() && canStart(bytes[0])
                   ? std::optional(unit)
                   : std::nullopt;
    }
    const auto size = static_cast<std::int64_t>(bigEndian(bytes, 1, 3));
    unit.length = tagHeader + size + sizeAfter;
    unit.header = tagHeader;
    if (size >= 2 && bytes.size() > static_cast<std::size_t>(tagHeader) + 1) {
        if (const auto before = contentHeader(bytes[0], bytes[tagHeader], bytes[tagHeader + 1])) {
            unit.stream = bytes[0];
            unit.header += *before;
            unit.payload = std::max<std::int64_t>(size - *before, 0);
        }
    }
    if (unit.end() > view.size()) {
        return unit;
    }
    // Some writers use the size after the tag in their own way; then the next tag is the proof.
    const auto after = view.at(unit.end() - sizeAfter, sizeAfter);
    const bool isSized =
        after.size() == sizeAfter && bigEndian(after, 0, 4) == static_cast<std::uint64_t>(tagHeader + size);
    return isSized || isTagStart(view.at(unit.end(), tagHeader)) ? std::optional(unit) : std::nullopt;
}

std::optional<Unit> FlvGrammar::guessAt(SourceView& view, std::int64_t position) {
    const auto unit = unitAt(view, position);
    if (!unit || unit->endsRecording || unit->end() > view.size()) {
        return std::nullopt;
    }
    const auto after = view.at(unit->end() - sizeAfter, sizeAfter);
    const bool isSized =
        after.size() == sizeAfter && static_cast<std::int64_t>(bigEndian(after, 0, 4)) == unit->length - sizeAfter;
    return isSized ? unit : std::nullopt;
}

std::vector<Expectation> FlvGrammar::expectations(const Ledger& ledger, const AVFormatContext& format) const {
    std::vector<Expectation> expected;
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        const AVMediaType type = format.streams[index]->codecpar->codec_type;
        const std::uint32_t kind = type == AVMEDIA_TYPE_AUDIO ? audio : type == AVMEDIA_TYPE_VIDEO ? video : script;
        const auto payload = ledger.payloads().find(kind);
        if (payload != ledger.payloads().end()) {
            expected.push_back({index, -1, payload->second.bytes});
        }
    }
    return expected;
}

}  // namespace worker
