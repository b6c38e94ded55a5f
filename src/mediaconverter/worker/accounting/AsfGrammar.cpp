#include "mediaconverter/worker/accounting/AsfGrammar.h"

#include "mediaconverter/ByteOrder.h"

#include <algorithm>
#include <array>

namespace worker {

namespace {

using mediaconverter::bigEndian;

// The first four bytes of an object's identifier distinguish it (section 10.1).
constexpr std::uint32_t header = 0x3026B275;
constexpr std::uint32_t data = 0x3626B275;
constexpr std::array<std::uint32_t, 4> indexes = {0x90080033, 0xD329E2D6, 0xF803B1FE, 0xD03FB73C};
constexpr std::uint32_t fileProperties = 0xA1DCAB8C;

constexpr std::size_t objectHeader = 24;
constexpr std::int64_t dataHeader = 50;
constexpr std::int64_t headerObjects = 30;

using mediaconverter::littleEndian;

}  // namespace

std::optional<Unit> AsfGrammar::unitAt(SourceView& view, std::int64_t position) {
    const auto bytes = view.at(position, objectHeader);
    Unit unit;
    unit.start = position;
    // Every packet starts with two bytes of error correction, which are not used.
    if (hasData_ && packetSize_ > 0 && bytes.size() >= 3 && bytes[0] == 0x82 && bytes[1] == 0 && bytes[2] == 0) {
        unit.header = 3;
        unit.length = packetSize_;
        return unit;
    }
    if (bytes.size() < objectHeader) {
        return std::nullopt;
    }
    unit.kind = static_cast<std::uint32_t>(bigEndian(bytes, 0, 4));
    unit.header = static_cast<std::int64_t>(objectHeader);
    const std::uint64_t size = littleEndian(bytes, 16, 8);
    unit.length =
        unit.kind == data ? dataHeader : static_cast<std::int64_t>(std::min<std::uint64_t>(size, INT64_MAX / 2));
    unit.endsRecording = unit.kind == header && position > 0;
    const bool isKnown = unit.kind == header || unit.kind == data ||
                         std::find(indexes.begin(), indexes.end(), unit.kind) != indexes.end();
    return isKnown && unit.length >= unit.header ? std::optional(unit) : std::nullopt;
}

void AsfGrammar::accept(SourceView& view, const Unit& unit, Ledger&) {
    if (unit.kind == header) {
        readHeader(view, unit);
    }
    hasData_ = hasData_ || unit.kind == data;
}

void AsfGrammar::readHeader(SourceView& view, const Unit& unit) {
    constexpr std::int64_t packetSizeAt = 92;
    for (std::int64_t at = unit.start + headerObjects; at < unit.end();) {
        const auto bytes = view.at(at, packetSizeAt + 4);
        if (bytes.size() < objectHeader) {
            return;
        }
        if (bigEndian(bytes, 0, 4) == fileProperties && bytes.size() == static_cast<std::size_t>(packetSizeAt) + 4) {
            packetSize_ = static_cast<std::int64_t>(littleEndian(bytes, packetSizeAt, 4));
            return;
        }
        const std::uint64_t size = littleEndian(bytes, 16, 8);
        if (size < objectHeader || size > static_cast<std::uint64_t>(unit.length)) {
            return;
        }
        at += static_cast<std::int64_t>(size);
    }
}

}  // namespace worker
