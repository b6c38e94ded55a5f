#include "mediaconverter/worker/accounting/MxfGrammar.h"

#include "mediaconverter/ByteOrder.h"

namespace worker {

using mediaconverter::bigEndian;

std::optional<Unit> MxfGrammar::unitAt(SourceView& view, std::int64_t position) {
    constexpr std::size_t key = 16;
    const auto bytes = view.at(position, key + 9);
    Unit unit;
    unit.start = position;
    if (bytes.size() < 4 || bigEndian(bytes, 0, 4) != 0x060E2B34) {
        return std::nullopt;
    }
    if (bytes.size() <= key) {
        unit.length = key + 1;
        return unit;
    }
    // Lengths in BER (ISO/IEC 8825-1): one byte, or the number of bytes that follow.
    const std::size_t width = bytes[key] < 0x80 ? 0 : bytes[key] & 0x7FU;
    if (width > 8 || bytes.size() < key + 1 + width) {
        return std::nullopt;
    }
    const std::uint64_t size = width == 0 ? bytes[key] : bigEndian(bytes, key + 1, width);
    if (size > static_cast<std::uint64_t>(INT64_MAX / 2)) {
        return std::nullopt;
    }
    unit.header = static_cast<std::int64_t>(key + 1 + width);
    unit.length = unit.header + static_cast<std::int64_t>(size);
    return unit;
}

}  // namespace worker
