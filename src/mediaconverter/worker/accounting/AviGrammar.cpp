#include "mediaconverter/worker/accounting/AviGrammar.h"

#include "mediaconverter/ByteOrder.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace worker {

namespace {

constexpr std::int64_t chunkHeader = 8;
constexpr std::int64_t listHeader = 12;

constexpr std::array<std::string_view, 4> opened = {"AVI ", "AVIX", "movi", "rec "};
constexpr std::array<std::string_view, 7> structure = {"idx1", "JUNK", "JUNQ", "PAD ", "strd", "vprp", "_PMX"};
constexpr std::array<std::string_view, 4> payloads = {"db", "dc", "wb", "tx"};

template<std::size_t N>
bool isOneOf(std::string_view name, const std::array<std::string_view, N>& list) {
    return std::find(list.begin(), list.end(), name) != list.end();
}

bool isDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

/// Two digits and a kind, or an index's two letters and two digits.
bool isOfStream(std::string_view name) {
    return isDigit(name[0]) && isDigit(name[1]) && name[2] >= 'a' && name[2] <= 'z' && name[3] >= 'a' && name[3] <= 'z';
}

bool isIndex(std::string_view name) {
    return name.starts_with("ix") && isDigit(name[2]) && isDigit(name[3]);
}

}  // namespace

bool AviGrammar::canStart(std::uint8_t byte) const {
    return isDigit(static_cast<char>(byte)) || byte == 'i' || byte == 'L' || byte == 'J' || byte == 'R';
}

std::optional<Unit> AviGrammar::unitAt(SourceView& view, std::int64_t position) {
    const auto bytes = view.at(position, listHeader);
    if (bytes.size() < static_cast<std::size_t>(chunkHeader)) {
        return std::nullopt;
    }
    const std::string_view name(reinterpret_cast<const char*>(bytes.data()), 4);
    const std::string_view inner(reinterpret_cast<const char*>(bytes.data()) + chunkHeader,
                                 bytes.size() < static_cast<std::size_t>(listHeader) ? 0 : 4);
    const auto size = static_cast<std::int64_t>(mediaconverter::littleEndian(bytes, 4, 4));
    Unit unit;
    unit.start = position;
    unit.header = chunkHeader;
    unit.length = chunkHeader + size + size % 2;
    if (name == "RIFF" || name == "LIST") {
        const bool isOpened = isOneOf(inner, opened);
        unit.length = isOpened ? listHeader : unit.length;
        unit.endsRecording = name == "RIFF" && inner == "AVI " && hasData_;
        unit.kind = isOpened ? 1 : 0;
        return name == "LIST" || isOpened ? std::optional(unit) : std::nullopt;
    }
    if (isOneOf(name, structure) || isIndex(name)) {
        return unit;
    }
    if (!isOfStream(name)) {
        return std::nullopt;
    }
    unit.stream = static_cast<std::uint32_t>((name[0] - '0') * 10 + name[1] - '0');
    unit.payload = isOneOf(name.substr(2), payloads) ? size : -1;
    // The last chunk need not be padded to an even size.
    if (unit.end() == view.size() + 1 && size % 2 == 1) {
        --unit.length;
    }
    return unit;
}

void AviGrammar::accept(SourceView& view, const Unit& unit, Ledger& ledger) {
    hasData_ = true;
    Grammar::accept(view, unit, ledger);
}

std::vector<Expectation> AviGrammar::expectations(const Ledger& ledger, const AVFormatContext& format) const {
    std::vector<Expectation> expected;
    for (const auto& [stream, payload] : ledger.payloads()) {
        // A single stream of digital video (DV) includes its audio.
        const bool holdsAudioToo =
            stream < format.nb_streams && format.streams[stream]->codecpar->codec_id == AV_CODEC_ID_DVVIDEO;
        if (!holdsAudioToo) {
            expected.push_back({stream, -1, payload.bytes});
        }
    }
    return expected;
}

}  // namespace worker
