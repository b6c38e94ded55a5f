#include "mediaconverter/worker/accounting/ProgramStreamGrammar.h"

#include "mediaconverter/ByteOrder.h"

#include <algorithm>

namespace worker {

namespace {

using mediaconverter::bigEndian;

constexpr std::uint8_t programEnd = 0xB9;
constexpr std::uint8_t packStart = 0xBA;
constexpr std::uint8_t systemHeader = 0xBB;
constexpr std::uint8_t privateStream = 0xBD;
constexpr std::uint8_t firstAudio = 0xC0;
constexpr std::uint8_t lastVideo = 0xEF;

constexpr std::size_t mostHeader = 64;

std::optional<std::int64_t> packLength(std::span<const std::uint8_t> bytes) {
    if (bytes.size() > 13 && (bytes[4] & 0xC0U) == 0x40) {
        return 14 + (bytes[13] & 7U);
    }
    return bytes.size() >= 12 && (bytes[4] & 0xF0U) == 0x20 ? std::optional<std::int64_t>(12) : std::nullopt;
}

/// Number of bytes from the start code to the payload of an audio or video packet.
std::optional<std::int64_t> packetHeader(std::span<const std::uint8_t> bytes) {
    if (bytes.size() > 8 && (bytes[6] & 0xC0U) == 0x80) {
        return 9 + std::int64_t{bytes[8]};
    }
    std::size_t at = 6;
    while (at < bytes.size() && bytes[at] == 0xFF) {
        ++at;
    }
    if (at < bytes.size() && (bytes[at] & 0xC0U) == 0x40) {
        at += 2;
    }
    if (at >= bytes.size()) {
        return std::nullopt;
    }
    const unsigned kind = bytes[at] >> 4U;
    if (kind != 2 && kind != 3 && bytes[at] != 0x0F) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(at) + (kind == 2 ? 5 : kind == 3 ? 10 : 1);
}

/// Zeros that pad a sector (Video CD), up to the next start code.
std::int64_t stuffingAt(SourceView& view, std::int64_t position) {
    constexpr std::size_t sector = 2352;
    const auto bytes = view.at(position, sector);
    const auto found = std::find_if(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte != 0; });
    const auto zeros = found - bytes.begin();
    return found != bytes.end() && *found == 1 && zeros > 2 ? zeros - 2 : 0;
}

}  // namespace

std::optional<Unit> ProgramStreamGrammar::unitAt(SourceView& view, std::int64_t position) {
    if (const std::int64_t stuffing = stuffingAt(view, position); stuffing > 0) {
        Unit unit;
        unit.start = position;
        unit.length = stuffing;
        return unit;
    }
    const auto bytes = view.at(position, mostHeader);
    if (bytes.size() < 4 || bytes[0] != 0 || bytes[1] != 0 || bytes[2] != 1 || bytes[3] < programEnd) {
        return std::nullopt;
    }
    Unit unit;
    unit.start = position;
    unit.header = 6;
    unit.stream = 0x100U | bytes[3];
    unit.kind = bytes[3];
    if (bytes[3] == programEnd) {
        unit.length = 4;
        return unit;
    }
    if (bytes[3] == packStart) {
        const auto length = packLength(bytes);
        unit.length = length.value_or(14);
        return length || bytes.size() < 14 ? std::optional(unit) : std::nullopt;
    }
    if (bytes.size() < 6) {
        unit.length = 6;
        return unit;
    }
    unit.length = 6 + static_cast<std::int64_t>(bigEndian(bytes, 4, 2));
    if (bytes[3] == systemHeader || bytes[3] < firstAudio || bytes[3] > lastVideo) {
        return unit;
    }
    const auto header = packetHeader(bytes);
    if (!header && bytes.size() == mostHeader) {
        return std::nullopt;
    }
    unit.header = header.value_or(6);
    unit.payload = unit.length - unit.header;
    return unit.payload >= 0 ? std::optional(unit) : std::nullopt;
}

void ProgramStreamGrammar::accept(SourceView& view, const Unit& unit, Ledger& ledger) {
    if (hasEnded_ && unit.kind == packStart) {
        ledger.addLost(unit.start, unit.start, "another recording begins here");
    }
    hasEnded_ = unit.kind == programEnd || (hasEnded_ && unit.kind == 0);
    followParts(view, unit, ledger);
    Grammar::accept(view, unit, ledger);
}

void ProgramStreamGrammar::followParts(SourceView& view, const Unit& unit, Ledger& ledger) {
    const auto bytes = view.at(unit.start, mostHeader);
    if (unit.kind == packStart) {
        if (parts_.isReset(bytes)) {
            ledger.addNote("at byte " + std::to_string(unit.start) + ": the clock jumps to another time");
        }
        return;
    }
    const bool isPrivate = unit.kind == privateStream;
    const auto header = isPrivate || unit.payload >= 0 ? packetHeader(bytes) : std::nullopt;
    if (!header || static_cast<std::size_t>(*header) >= bytes.size()) {
        return;
    }
    const auto payload = bytes.subspan(static_cast<std::size_t>(*header));
    if (!parts_.belongs(isPrivate ? unit.kind << 8U | payload[0] : unit.kind, payload)) {
        ledger.addLost(unit.start, unit.start, "a recording of other streams begins here");
    }
}

}  // namespace worker
