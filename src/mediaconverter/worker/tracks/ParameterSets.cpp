#include "mediaconverter/worker/tracks/ParameterSets.h"

namespace worker {

namespace {

constexpr std::size_t headerLength = 6;
constexpr unsigned recordVersion = 1;

bool isRecord(std::span<const std::uint8_t> extradata) {
    return extradata.size() > headerLength && extradata[0] == recordVersion;
}

unsigned lengthSizeOf(std::span<const std::uint8_t> record) {
    return (record[4] & 3U) + 1;
}

/// Appends `count` sets that start at `at`, each after a length of `lengthSize` bytes. False if they are truncated.
bool appendSets(std::span<const std::uint8_t> record, std::size_t& at, unsigned count, unsigned lengthSize,
                std::vector<std::uint8_t>& to) {
    for (; count > 0; --count) {
        if (at + 2 > record.size()) {
            return false;
        }
        const std::size_t length = std::size_t{record[at]} << 8U | record[at + 1];
        at += 2;
        if (at + length > record.size() || (lengthSize == 1 && length > 0xFF)) {
            return false;
        }
        for (unsigned byte = lengthSize; byte-- > 0;) {
            to.push_back(static_cast<std::uint8_t>(byte > 1 ? 0 : length >> (8U * byte)));
        }
        to.insert(to.end(), record.begin() + static_cast<std::ptrdiff_t>(at),
                  record.begin() + static_cast<std::ptrdiff_t>(at + length));
        at += length;
    }
    return true;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> inBandParameterSets(const AVCodecParameters& stream,
                                                             std::span<const std::uint8_t> extradata) {
    const std::span<const std::uint8_t> first(stream.extradata, static_cast<std::size_t>(stream.extradata_size));
    if (stream.codec_id != AV_CODEC_ID_H264 || !isRecord(first) || !isRecord(extradata) ||
        lengthSizeOf(first) != lengthSizeOf(extradata)) {
        return std::nullopt;
    }
    const unsigned lengthSize = lengthSizeOf(extradata);
    std::vector<std::uint8_t> sets;
    std::size_t at = headerLength;
    if (!appendSets(extradata, at, extradata[5] & 0x1FU, lengthSize, sets) || at >= extradata.size()) {
        return std::nullopt;
    }
    const unsigned pictureSets = extradata[at++];
    if (!appendSets(extradata, at, pictureSets, lengthSize, sets)) {
        return std::nullopt;
    }
    return sets;
}

}  // namespace worker
