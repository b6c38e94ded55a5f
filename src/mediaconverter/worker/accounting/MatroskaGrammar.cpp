#include "mediaconverter/worker/accounting/MatroskaGrammar.h"

#include "mediaconverter/ByteOrder.h"
#include "mediaconverter/worker/accounting/EbmlElement.h"
#include "mediaconverter/worker/accounting/MatroskaLacing.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace worker {

namespace {

using mediaconverter::bigEndian;

// Identifiers of RFC 9559, section 5.1.
constexpr std::uint32_t ebml = 0x1A45DFA3;
constexpr std::uint32_t segment = 0x18538067;
constexpr std::uint32_t cluster = 0x1F43B675;
constexpr std::uint32_t tracks = 0x1654AE6B;
constexpr std::uint32_t simpleBlock = 0xA3;
constexpr std::uint32_t blockGroup = 0xA0;
constexpr std::uint32_t block = 0xA1;
constexpr std::uint32_t timestamp = 0xE7;
constexpr std::uint32_t voidElement = 0xEC;
constexpr std::uint32_t checksum = 0xBF;

constexpr std::array<std::uint32_t, 9> inSegment = {0x114D9B74, 0x1549A966, tracks,     cluster,   0x1C53BB6B,
                                                    0x1941A469, 0x1043A770, 0x1254C367, 0x1B538667};
constexpr std::array<std::uint32_t, 6> inCluster = {timestamp, 0x5854, 0xA7, 0xAB, simpleBlock, blockGroup};
constexpr std::array<std::uint32_t, 11> inGroup = {block, 0xA2,   0x75A1, 0x9B, 0xFA, 0xFB,
                                                   0xA4,  0x75A2, 0x8E,   0xC8, 0xFD};

/// Elements that hold one number, at most eight bytes.
constexpr std::array<std::uint32_t, 6> numbers = {timestamp, 0xA7, 0xAB, 0x9B, 0xFA, 0xFB};

constexpr std::size_t mostTracksSize = std::size_t{1} << 20U;

/// A number of up to eight bytes, a time of two, flags.
constexpr std::size_t mostBlockHeader = 11;

template<std::size_t N>
bool isOneOf(std::uint32_t id, const std::array<std::uint32_t, N>& list) {
    return std::find(list.begin(), list.end(), id) != list.end();
}

bool isBlock(std::uint32_t id) {
    return id == simpleBlock || id == block;
}

/// Calls `visit(header, content)` for each readable child in `bytes`.
template<typename Visit>
void forEachChild(std::span<const std::uint8_t> bytes, Visit visit) {
    while (!bytes.empty()) {
        const auto header = readEbmlHeader(bytes);
        if (!header || header->size > bytes.size() - header->width) {
            return;
        }
        visit(*header, bytes.subspan(header->width, static_cast<std::size_t>(header->size)));
        bytes = bytes.subspan(header->width + static_cast<std::size_t>(header->size));
    }
}

/// Whether the library passes on the content of the blocks unchanged.
bool keepsPayload(std::string_view codec) {
    constexpr std::array<std::string_view, 6> changed = {"A_WAVPACK4", "V_PRORES",      "A_REAL",
                                                         "D_WEBVTT",   "S_TEXT/WEBVTT", "V_QUICKTIME"};
    return std::none_of(changed.begin(), changed.end(),
                        [codec](std::string_view start) { return codec.starts_with(start); });
}

MatroskaGrammar::Track readTrack(std::span<const std::uint8_t> entry) {
    MatroskaGrammar::Track track;
    bool hasEncodings = false;
    std::string_view codec;
    forEachChild(entry, [&](const EbmlHeader& header, std::span<const std::uint8_t> content) {
        if (header.id == 0xD7 && content.size() <= 8) {
            track.number = bigEndian(content, 0, content.size());
        } else if (header.id == 0x83 && content.size() == 1) {
            const unsigned type = content[0];
            track.isStream = type == 1 || type == 2 || type == 0x11 || type == 0x21;
        } else if (header.id == 0x86) {
            codec = {reinterpret_cast<const char*>(content.data()), content.size()};
        } else if (header.id == 0x6D80) {
            hasEncodings = true;
        }
    });
    track.isStream = track.isStream && !codec.empty();
    track.keepsPayload = !hasEncodings && keepsPayload(codec);
    return track;
}

}  // namespace

bool MatroskaGrammar::canStart(std::uint8_t byte) const {
    return byte == simpleBlock || byte == blockGroup || byte == cluster >> 24U || byte == 0x1C || byte == 0x12;
}

std::optional<Unit> MatroskaGrammar::unitAt(SourceView& view, std::int64_t position) {
    const auto bytes = view.at(position, mostEbmlHeader);
    const auto header = readEbmlHeader(bytes);
    if (!header || (header->isUnknownSize && header->id != segment && header->id != cluster)) {
        return std::nullopt;
    }
    Unit unit;
    unit.start = position;
    unit.kind = header->id;
    unit.header = static_cast<std::int64_t>(header->width);
    const bool isOpened = header->id == segment || header->id == cluster || header->id == blockGroup;
    unit.length = unit.header + static_cast<std::int64_t>(isOpened ? 0 : header->size);
    unit.endsRecording = header->id == ebml && hasSegment_;
    if (!belongs(unit)) {
        return std::nullopt;
    }
    unit.content = isOpened && !header->isUnknownSize ? static_cast<std::int64_t>(header->size) : -1;
    if (isOneOf(header->id, numbers) && header->size > 8) {
        return std::nullopt;
    }
    return isBlock(header->id) ? blockAt(view, unit) : unit;
}

/// Whether the element may occur there, and ends within its parent.
bool MatroskaGrammar::belongs(const Unit& unit) const {
    const bool isAnywhere = unit.kind == voidElement || unit.kind == checksum;
    if (unit.start < groupEnd_) {
        return unit.end() <= groupEnd_ && (isAnywhere || isOneOf(unit.kind, inGroup));
    }
    if (unit.start < clusterEnd_ && (isAnywhere || isOneOf(unit.kind, inCluster))) {
        return unit.end() <= clusterEnd_;
    }
    if (unit.start < clusterEnd_ && clusterEnd_ != unknown) {
        return false;
    }
    return isAnywhere || unit.kind == ebml || unit.kind == segment || isOneOf(unit.kind, inSegment);
}

bool MatroskaGrammar::isTrack(std::uint64_t number) const {
    return tracks_.empty() ||
           std::any_of(tracks_.begin(), tracks_.end(), [number](const Track& track) { return track.number == number; });
}

std::optional<Unit> MatroskaGrammar::blockAt(SourceView& view, Unit unit) const {
    constexpr std::size_t timeAndFlags = 3;
    const auto bytes = view.at(unit.start + unit.header, mostBlockHeader);
    const auto number = readEbmlNumber(bytes);
    const std::int64_t content = unit.length - unit.header;
    if (!number || number->width + timeAndFlags > bytes.size() ||
        content < static_cast<std::int64_t>(number->width + timeAndFlags)) {
        // The end of the file cuts the block in its header.
        return unit.end() > view.size() ? std::optional(unit) : std::nullopt;
    }
    unit.stream = static_cast<std::uint32_t>(number->value);
    unit.header += static_cast<std::int64_t>(number->width + timeAndFlags);
    unit.payload = unit.length - unit.header;
    if (!isTrack(number->value)) {
        unit.damage = "a block of an unknown track";
    }
    return unit;
}

std::optional<Unit> MatroskaGrammar::guessAt(SourceView& view, std::int64_t position) {
    const auto bytes = view.at(position, mostEbmlHeader);
    const auto header = readEbmlHeader(bytes);
    if (!header) {
        return std::nullopt;
    }
    Unit unit;
    unit.start = position;
    unit.kind = header->id;
    unit.header = static_cast<std::int64_t>(header->width);
    unit.length = unit.header + static_cast<std::int64_t>(header->size);
    if (header->id == cluster || (header->id == blockGroup && !header->isUnknownSize)) {
        unit.length = unit.header;
        return unit;
    }
    if (header->isUnknownSize) {
        return std::nullopt;
    }
    if (isBlock(header->id)) {
        auto found = blockAt(view, unit);
        return found && found->damage == nullptr ? found : std::nullopt;
    }
    const bool isNumber = isOneOf(header->id, numbers);
    const bool isKnown = isNumber || isOneOf(header->id, inSegment) || header->id == voidElement;
    return isKnown && !(isNumber && header->size > 8) ? std::optional(unit) : std::nullopt;
}

void MatroskaGrammar::accept(SourceView& view, const Unit& unit, Ledger& ledger) {
    const std::int64_t end = unit.content >= 0 ? unit.end() + unit.content : unknown;
    if (unit.kind == blockGroup) {
        groupEnd_ = std::min(end, clusterEnd_);
    } else if (unit.kind == cluster) {
        clusterEnd_ = end;
        groupEnd_ = 0;
    } else if (unit.kind == segment) {
        hasSegment_ = true;
    } else if (unit.kind == tracks) {
        readTracks(view, unit);
    } else if (unit.payload >= 0) {
        addBlock(view, unit, ledger);
    } else if (isOneOf(unit.kind, inSegment)) {
        clusterEnd_ = 0;
    }
}

void MatroskaGrammar::resume(SourceView& view, std::int64_t position) {
    const auto header = readEbmlHeader(view.at(position, mostEbmlHeader));
    const bool isInCluster = header && isOneOf(header->id, inCluster);
    if (!isInCluster || position >= clusterEnd_) {
        clusterEnd_ = isInCluster ? unknown : 0;
    }
    groupEnd_ = 0;
}

std::vector<Expectation> MatroskaGrammar::expectations(const Ledger& ledger, const AVFormatContext&) const {
    std::vector<Expectation> expected;
    unsigned stream = 0;
    for (const Track& track : tracks_) {
        if (!track.isStream) {
            continue;
        }
        const auto payload = ledger.payloads().find(static_cast<std::uint32_t>(track.number));
        if (payload != ledger.payloads().end()) {
            expected.push_back({stream, payload->second.units, track.keepsPayload ? payload->second.bytes : -1});
        }
        ++stream;
    }
    return expected;
}

std::vector<Patch> MatroskaGrammar::patchesOver(ByteRange lost) const {
    constexpr std::int64_t shortHeader = 2;
    constexpr std::int64_t longHeader = 9;
    const std::int64_t length = lost.end - lost.start;
    if (length < shortHeader) {
        return {};
    }
    std::vector<std::uint8_t> header = {voidElement};
    if (length < 128) {
        header.push_back(static_cast<std::uint8_t>(0x80 | (length - shortHeader)));
    } else {
        header.push_back(1);
        for (int shift = 48; shift >= 0; shift -= 8) {
            header.push_back(static_cast<std::uint8_t>((length - longHeader) >> shift));
        }
    }
    return {{lost.start, header}};
}

void MatroskaGrammar::readTracks(SourceView& view, const Unit& unit) {
    constexpr std::uint32_t trackEntry = 0xAE;
    const auto size = std::min(static_cast<std::size_t>(unit.length - unit.header), mostTracksSize);
    forEachChild(view.at(unit.start + unit.header, size),
                 [this](const EbmlHeader& header, std::span<const std::uint8_t> content) {
                     if (header.id == trackEntry) {
                         tracks_.push_back(readTrack(content));
                     }
                 });
}

void MatroskaGrammar::addBlock(SourceView& view, const Unit& unit, Ledger& ledger) const {
    if (!isTrack(unit.stream)) {
        return;
    }
    const auto flags = view.at(unit.start + unit.header - 1, 1);
    const unsigned lacing = flags.empty() ? 0 : flags[0] & 0x06U;
    const std::int64_t content = unit.start + unit.header;
    if (lacing == 0) {
        ledger.addPayload(unit.stream, unit.payload, unit.payload > 0 ? 1 : 0);
        return;
    }
    const auto sizes = readLacing(view.at(content, static_cast<std::size_t>(unit.payload)), lacing);
    if (!sizes) {
        ledger.addLost(unit.start, unit.end(), "a block whose lacing does not fit its size");
        return;
    }
    for (const std::int64_t size : *sizes) {
        ledger.addPayload(unit.stream, size, size > 0 ? 1 : 0);
    }
}

}  // namespace worker
