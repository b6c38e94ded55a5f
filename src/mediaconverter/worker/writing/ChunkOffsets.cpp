#include "mediaconverter/worker/writing/ChunkOffsets.h"

#include "mediaconverter/Boxes.h"
#include "mediaconverter/ByteOrder.h"
#include "mediaconverter/worker/Failure.h"

#include <algorithm>
#include <limits>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;
using mediaconverter::appendBigEndian;
using mediaconverter::bigEndian;
using mediaconverter::boxType;
using mediaconverter::MemoryBox;
using mediaconverter::shortBoxHeader;
using mediaconverter::versionAndFlags;

/// In the content of a table's box: version and flags, then the number of offsets.
constexpr std::size_t tableHeader = versionAndFlags + 4;

[[noreturn]] void malformed() {
    throw Failure(ConversionError::containerFailed, "the index is malformed");
}

/// Removes the first box.
MemoryBox popBox(Bytes& bytes) {
    const auto box = mediaconverter::popBox(bytes);
    if (!box) {
        malformed();
    }
    return *box;
}

bool isOnTheWayToOffsets(const MemoryBox& box) {
    return box.is("moov") || box.is("trak") || box.is("mdia") || box.is("minf") || box.is("stbl");
}

std::size_t countOf(const MemoryBox& table, std::size_t width) {
    if (table.content.size() < tableHeader) {
        malformed();
    }
    const std::size_t count = bigEndian(table.content, versionAndFlags, 4);
    if ((table.content.size() - tableHeader) / width < count) {
        malformed();
    }
    return count;
}

/// Appends the table with offsets of `newWidth` bytes in place of `width`.
void appendTable(std::vector<std::uint8_t>& out, const MemoryBox& table, std::size_t width, std::size_t newWidth,
                 std::uint64_t shift) {
    const std::size_t count = countOf(table, width);
    const std::uint32_t type = newWidth == 4 ? boxType("stco") : boxType("co64");
    mediaconverter::appendBoxHeader(out, type, shortBoxHeader + tableHeader + count * newWidth);
    out.insert(out.end(), table.content.begin(), table.content.begin() + tableHeader);
    for (std::size_t index = 0; index < count; ++index) {
        appendBigEndian(out, newWidth, bigEndian(table.content, tableHeader + width * index, width) + shift);
    }
}

/// Whether the shifted offsets still fit into 32 bits.
bool staysNarrow(const MemoryBox& table, std::uint64_t shift) {
    std::uint64_t largest = 0;
    for (std::size_t index = countOf(table, 4); index > 0; --index) {
        largest = std::max(largest, bigEndian(table.content, tableHeader + 4 * (index - 1), 4));
    }
    return largest + shift <= std::numeric_limits<std::uint32_t>::max();
}

void appendShifted(std::vector<std::uint8_t>& out, const MemoryBox& box, std::uint64_t shift) {
    if (box.is("stco")) {
        appendTable(out, box, 4, staysNarrow(box, shift) ? 4 : 8, shift);
    } else if (box.is("co64")) {
        appendTable(out, box, 8, 8, shift);
    } else if (!isOnTheWayToOffsets(box)) {
        out.insert(out.end(), box.whole.begin(), box.whole.end());
    } else {
        const std::size_t start = out.size();
        mediaconverter::appendBoxHeader(out, box.type, shortBoxHeader);
        for (Bytes rest = box.content; !rest.empty();) {
            appendShifted(out, popBox(rest), shift);
        }
        mediaconverter::putBigEndian(out, start, 4, out.size() - start);
    }
}

/// Bytes of all tables of 32-bit offsets.
std::size_t narrowTables(const MemoryBox& box) {
    if (box.is("stco")) {
        return box.whole.size();
    }
    std::size_t sum = 0;
    if (isOnTheWayToOffsets(box)) {
        for (Bytes rest = box.content; !rest.empty();) {
            sum += narrowTables(popBox(rest));
        }
    }
    return sum;
}

}  // namespace

std::vector<std::uint8_t> withShiftedChunkOffsets(std::span<const std::uint8_t> movie, std::uint64_t shift) {
    std::vector<std::uint8_t> out;
    out.reserve(largestWithShiftedChunkOffsets(movie));
    appendShifted(out, popBox(movie), shift);
    return out;
}

std::size_t largestWithShiftedChunkOffsets(std::span<const std::uint8_t> movie) {
    return movie.size() + narrowTables(popBox(movie));
}

}  // namespace worker
