#include "mediaconverter/worker/accounting/OggGrammar.h"

#include "mediaconverter/ByteOrder.h"
extern "C" {
#include <libavutil/crc.h>
}

#include <algorithm>
#include <array>
#include <numeric>

namespace worker {

namespace {

constexpr std::size_t pageHeader = 27;

using mediaconverter::littleEndian;

/// Computed over the page with zeros in place of the checksum (RFC 3533, section 6).
bool isIntact(std::span<const std::uint8_t> page) {
    constexpr std::size_t at = 22;
    constexpr std::array<std::uint8_t, 4> zeros{};
    const AVCRC* const table = av_crc_get_table(AV_CRC_32_IEEE);
    std::uint32_t sum = av_crc(table, 0, page.data(), at);
    sum = av_crc(table, sum, zeros.data(), zeros.size());
    sum = av_crc(table, sum, page.data() + at + 4, page.size() - at - 4);
    // The library's table works on swapped bytes.
    return __builtin_bswap32(sum) == littleEndian(page, at, 4);
}

bool deliversPages(AVCodecID codec) {
    constexpr std::array codecs = {AV_CODEC_ID_VORBIS, AV_CODEC_ID_OPUS, AV_CODEC_ID_FLAC, AV_CODEC_ID_THEORA};
    return std::find(codecs.begin(), codecs.end(), codec) != codecs.end();
}

}  // namespace

std::optional<Unit> OggGrammar::unitAt(SourceView& view, std::int64_t position) {
    const auto bytes = view.at(position, pageHeader + 255);
    Unit unit;
    unit.start = position;
    if (bytes.size() < 4 || bytes[0] != 'O' || bytes[1] != 'g' || bytes[2] != 'g' || bytes[3] != 'S') {
        return std::nullopt;
    }
    if (bytes.size() < pageHeader || bytes.size() < pageHeader + bytes[26]) {
        unit.length = static_cast<std::int64_t>(pageHeader) + 256;
        return unit;
    }
    if (bytes[4] != 0) {
        return std::nullopt;
    }
    const auto table = bytes.subspan(pageHeader, bytes[26]);
    unit.header = static_cast<std::int64_t>(pageHeader + table.size());
    unit.payload = std::accumulate(table.begin(), table.end(), std::int64_t{0});
    unit.length = unit.header + unit.payload;
    unit.stream = static_cast<std::uint32_t>(littleEndian(bytes, 14, 4));
    return unit;
}

void OggGrammar::accept(SourceView& view, const Unit& unit, Ledger& ledger) {
    constexpr std::uint8_t beginsStream = 0x02;
    const auto page = view.at(unit.start, static_cast<std::size_t>(unit.length));
    if (page.size() < static_cast<std::size_t>(unit.length) || !isIntact(page)) {
        ledger.addLost(unit.start, unit.end(), "a page whose checksum is wrong");
        return;
    }
    const auto number = static_cast<std::uint32_t>(littleEndian(page, 18, 4));
    const std::uint64_t granule = littleEndian(page, 6, 8);
    const bool isBeginning = (page[5] & beginsStream) != 0;
    Stream& stream = streams_[unit.stream];
    if (isBeginning) {
        if (hasData_) {
            ledger.addLost(unit.start, unit.start, "another recording begins here");
        }
        order_.push_back(unit.stream);
        stream = {};
    } else if (number != stream.next) {
        ledger.addLost(unit.start, unit.start, "pages are missing here: their numbers jump");
    }
    stream.next = number + 1;
    // Header pages end at time 0; pages in which no packet ends have no time.
    stream.hasData = stream.hasData || (granule != 0 && granule != UINT64_MAX);
    hasData_ = hasData_ || stream.hasData;
    if (stream.hasData) {
        ledger.addPayload(unit.stream, unit.payload);
    }
}

std::vector<Expectation> OggGrammar::expectations(const Ledger& ledger, const AVFormatContext& format) const {
    std::vector<Expectation> expected;
    for (unsigned index = 0; index < format.nb_streams && index < order_.size(); ++index) {
        const auto payload = ledger.payloads().find(order_[index]);
        if (payload != ledger.payloads().end() && deliversPages(format.streams[index]->codecpar->codec_id)) {
            expected.push_back({index, -1, payload->second.bytes});
        }
    }
    return expected;
}

}  // namespace worker
