#include "mediaconverter/worker/accounting/GxfGrammar.h"

#include "mediaconverter/ByteOrder.h"

namespace worker {

using mediaconverter::bigEndian;

std::optional<Unit> GxfGrammar::unitAt(SourceView& view, std::int64_t position) {
    constexpr std::size_t header = 16;
    const auto bytes = view.at(position, header);
    if (bytes.size() < 6 || bigEndian(bytes, 0, 5) != 1 || bytes[5] < 0xBC) {
        return std::nullopt;
    }
    Unit unit;
    unit.start = position;
    unit.header = header;
    unit.length = header;
    if (bytes.size() < header) {
        return unit;
    }
    unit.length = static_cast<std::int64_t>(bigEndian(bytes, 6, 4));
    const bool hasTrailer = bytes[14] == 0xE1 && bytes[15] == 0xE2;
    return hasTrailer && unit.length >= unit.header ? std::optional(unit) : std::nullopt;
}

}  // namespace worker
