#include "mediaconverter/worker/ChunkOffsets.h"

#include "mediaconverter/worker/BigEndian.h"
#include "mediaconverter/worker/Failure.h"

#include <limits>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t boxType(const char (&name)[5]) {
    std::uint32_t value = 0;
    for (int index = 0; index < 4; ++index) {
        value = (value << 8U) | static_cast<std::uint8_t>(name[index]);
    }
    return value;
}

constexpr std::size_t boxHeader = 8;
constexpr std::size_t tableHeader = 16;  // size, type, version and flags, count

std::uint32_t read32(Bytes bytes, std::size_t at) {
    return static_cast<std::uint32_t>(bigEndian(bytes, at, 4));
}

std::uint64_t read64(Bytes bytes, std::size_t at) {
    return bigEndian(bytes, at, 8);
}

void append32(std::vector<std::uint8_t>& out, std::uint32_t value) {
    for (unsigned bits = 32; bits > 0; bits -= 8) {
        out.push_back(static_cast<std::uint8_t>(value >> (bits - 8)));
    }
}

void append64(std::vector<std::uint8_t>& out, std::uint64_t value) {
    append32(out, static_cast<std::uint32_t>(value >> 32U));
    append32(out, static_cast<std::uint32_t>(value));
}

void write32(std::vector<std::uint8_t>& out, std::size_t at, std::uint32_t value) {
    for (std::size_t index = 0; index < 4; ++index) {
        out[at + index] = static_cast<std::uint8_t>(value >> (24U - 8U * index));
    }
}

[[noreturn]] void malformed() {
    throw Failure(ConversionError::containerFailed, "the index is malformed");
}

/// The box at the start of `bytes`.
Bytes firstBox(Bytes bytes) {
    if (bytes.size() < boxHeader) {
        malformed();
    }
    const std::size_t size = read32(bytes, 0);
    if (size < boxHeader || size > bytes.size()) {
        malformed();
    }
    return bytes.first(size);
}

bool isOnTheWayToOffsets(std::uint32_t type) {
    return type == boxType("moov") || type == boxType("trak") || type == boxType("mdia") || type == boxType("minf") ||
           type == boxType("stbl");
}

std::size_t countOf(Bytes table, std::size_t width) {
    if (table.size() < tableHeader) {
        malformed();
    }
    const std::size_t count = read32(table, 12);
    if ((table.size() - tableHeader) / width < count) {
        malformed();
    }
    return count;
}

void appendNarrowTable(std::vector<std::uint8_t>& out, Bytes table, std::uint64_t shift) {
    const std::size_t count = countOf(table, 4);
    std::uint64_t largest = 0;
    for (std::size_t index = 0; index < count; ++index) {
        largest = std::max<std::uint64_t>(largest, read32(table, tableHeader + 4 * index));
    }
    const bool wide = largest + shift > std::numeric_limits<std::uint32_t>::max();
    append32(out, static_cast<std::uint32_t>(tableHeader + count * (wide ? 8 : 4)));
    append32(out, wide ? boxType("co64") : boxType("stco"));
    append32(out, read32(table, 8));
    append32(out, static_cast<std::uint32_t>(count));
    for (std::size_t index = 0; index < count; ++index) {
        const std::uint64_t offset = read32(table, tableHeader + 4 * index) + shift;
        if (wide) {
            append64(out, offset);
        } else {
            append32(out, static_cast<std::uint32_t>(offset));
        }
    }
}

void appendWideTable(std::vector<std::uint8_t>& out, Bytes table, std::uint64_t shift) {
    const std::size_t count = countOf(table, 8);
    out.insert(out.end(), table.begin(), table.begin() + tableHeader);
    for (std::size_t index = 0; index < count; ++index) {
        append64(out, read64(table, tableHeader + 8 * index) + shift);
    }
    const Bytes rest = table.subspan(tableHeader + 8 * count);
    out.insert(out.end(), rest.begin(), rest.end());
}

void appendShifted(std::vector<std::uint8_t>& out, Bytes box, std::uint64_t shift) {
    const std::uint32_t type = read32(box, 4);
    if (type == boxType("stco")) {
        appendNarrowTable(out, box, shift);
    } else if (type == boxType("co64")) {
        appendWideTable(out, box, shift);
    } else if (!isOnTheWayToOffsets(type)) {
        out.insert(out.end(), box.begin(), box.end());
    } else {
        const std::size_t start = out.size();
        out.insert(out.end(), box.begin(), box.begin() + boxHeader);
        for (Bytes rest = box.subspan(boxHeader); !rest.empty();) {
            const Bytes inner = firstBox(rest);
            appendShifted(out, inner, shift);
            rest = rest.subspan(inner.size());
        }
        write32(out, start, static_cast<std::uint32_t>(out.size() - start));
    }
}

std::size_t offsetBytes(Bytes box) {
    const std::uint32_t type = read32(box, 4);
    if (type == boxType("stco")) {
        return box.size();
    }
    std::size_t sum = 0;
    if (isOnTheWayToOffsets(type)) {
        for (Bytes rest = box.subspan(boxHeader); !rest.empty();) {
            const Bytes inner = firstBox(rest);
            sum += offsetBytes(inner);
            rest = rest.subspan(inner.size());
        }
    }
    return sum;
}

}  // namespace

std::vector<std::uint8_t> withShiftedChunkOffsets(std::span<const std::uint8_t> movie, std::uint64_t shift) {
    std::vector<std::uint8_t> out;
    out.reserve(largestWithShiftedChunkOffsets(movie));
    appendShifted(out, firstBox(movie), shift);
    return out;
}

std::size_t largestWithShiftedChunkOffsets(std::span<const std::uint8_t> movie) {
    return movie.size() + offsetBytes(firstBox(movie));
}

}  // namespace worker
