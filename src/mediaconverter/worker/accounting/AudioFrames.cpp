#include "mediaconverter/worker/accounting/AudioFrames.h"

#include <array>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;
using Length = std::optional<std::size_t>;

/// ISO/IEC 13818-7, 6.2.
Length adtsLength(Bytes bytes) {
    constexpr std::size_t header = 7;
    if (bytes.size() < header || bytes[0] != 0xFF || (bytes[1] & 0xF6U) != 0xF0 || (bytes[2] >> 2U & 0x0FU) > 12) {
        return std::nullopt;
    }
    const std::size_t length = (bytes[3] & 3U) << 11U | static_cast<unsigned>(bytes[4]) << 3U | bytes[5] >> 5U;
    return length >= header ? Length(length) : std::nullopt;
}

/// Bits per second in thousands, by version and layer (ISO/IEC 11172-3, 2.4.2.3; ISO/IEC 13818-3, 2.4.2.3).
unsigned mpegBitRate(bool isLow, unsigned layer, unsigned index) {
    constexpr std::array<std::array<unsigned, 15>, 5> rates = {{
        {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
    }};
    const std::size_t row = isLow ? (layer == 1 ? 3 : 4) : layer - 1;
    return rates[row][index];
}

Length mpegLength(Bytes bytes) {
    if (bytes.size() < 4 || bytes[0] != 0xFF || (bytes[1] & 0xE0U) != 0xE0) {
        return std::nullopt;
    }
    const unsigned version = bytes[1] >> 3U & 3U;  // 3 is 1, 2 is 2, 0 is the unofficial 2.5
    const unsigned layer = 4 - (bytes[1] >> 1U & 3U);
    const unsigned index = bytes[2] >> 4U;
    const unsigned rateIndex = bytes[2] >> 2U & 3U;
    if (version == 1 || layer == 4 || index == 0 || index == 15 || rateIndex == 3) {
        return std::nullopt;
    }
    constexpr std::array<unsigned, 3> sampleRates = {44100, 48000, 32000};
    const unsigned sampleRate = sampleRates[rateIndex] >> (version == 3 ? 0U : version == 2 ? 1U : 2U);
    const unsigned bits = mpegBitRate(version != 3, layer, index) * 1000;
    const unsigned padding = bytes[2] >> 1U & 1U;
    if (layer == 1) {
        return std::size_t{4} * (12 * bits / sampleRate + padding);
    }
    const unsigned factor = layer == 3 && version != 3 ? 72 : 144;
    return std::size_t{factor} * bits / sampleRate + padding;
}

/// ETSI TS 102 366, 4.3.1 and table 4.13 (AC-3), E.2.2.2.3 (E-AC-3).
Length ac3Length(Bytes bytes) {
    constexpr std::array<unsigned, 19> rates = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                                192, 224, 256, 320, 384, 448, 512, 576, 640};
    if (bytes.size() < 6 || bytes[0] != 0x0B || bytes[1] != 0x77) {
        return std::nullopt;
    }
    const unsigned version = bytes[5] >> 3U;
    if (version > 10) {
        return version <= 16 ? Length(2 * (((bytes[2] & 7U) << 8U | bytes[3]) + 1U)) : std::nullopt;
    }
    const unsigned sampleRate = bytes[4] >> 6U;
    const unsigned code = bytes[4] & 0x3FU;
    if (sampleRate == 3 || code / 2 >= rates.size()) {
        return std::nullopt;
    }
    const unsigned rate = rates[code / 2];
    const std::size_t words = sampleRate == 0 ? 2 * rate : sampleRate == 1 ? 320 * rate / 147 + (code & 1U) : 3 * rate;
    return 2 * words;
}

}  // namespace

Length audioFrameLength(AVCodecID codec, Bytes bytes) {
    switch (codec) {
    case AV_CODEC_ID_AAC:
        return adtsLength(bytes);
    case AV_CODEC_ID_MP1:
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_MP3:
        return mpegLength(bytes);
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
        return ac3Length(bytes);
    default:
        return std::nullopt;
    }
}

}  // namespace worker
