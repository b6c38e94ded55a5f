#include "mediaconverter/worker/accounting/IvfGrammar.h"

#include "mediaconverter/ByteOrder.h"
namespace worker {

std::optional<Unit> IvfGrammar::unitAt(SourceView& view, std::int64_t position) {
    constexpr std::int64_t fileHeader = 32;
    constexpr std::size_t frameHeader = 12;
    constexpr std::int64_t mostFrame = std::int64_t{1} << 28U;
    const auto bytes = view.at(position, frameHeader);
    Unit unit;
    unit.start = position;
    unit.header = static_cast<std::int64_t>(frameHeader);
    if (bytes.size() >= 4 && bytes[0] == 'D' && bytes[1] == 'K' && bytes[2] == 'I' && bytes[3] == 'F') {
        unit.length = fileHeader;
        unit.endsRecording = position > 0;
        return unit;
    }
    if (bytes.size() < frameHeader) {
        unit.length = unit.header;
        return unit;
    }
    // The size, and a time whose highest bytes no recording uses.
    unit.payload = static_cast<std::int64_t>(mediaconverter::littleEndian(bytes, 0, 4));
    unit.length = unit.header + unit.payload;
    const bool isPlausible = unit.payload > 0 && unit.payload < mostFrame && bytes[10] == 0 && bytes[11] == 0;
    return isPlausible ? std::optional(unit) : std::nullopt;
}

std::vector<Expectation> IvfGrammar::expectations(const Ledger& ledger, const AVFormatContext&) const {
    const auto payload = ledger.payloads().find(0);
    return payload == ledger.payloads().end() ? std::vector<Expectation>()
                                              : std::vector<Expectation>{{0, -1, payload->second.bytes}};
}

}  // namespace worker
