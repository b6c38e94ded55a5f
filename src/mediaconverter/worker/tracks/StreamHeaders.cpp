#include "mediaconverter/worker/tracks/StreamHeaders.h"

namespace worker::headers {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t npos = SIZE_MAX;

/// Position of the three bytes of the next start code; npos if there is none.
std::size_t startCodeFrom(Bytes bytes, std::size_t at) {
    for (; at + 3 <= bytes.size(); ++at) {
        if (bytes[at + 2] > 1) {
            at += 2;
        } else if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1) {
            return at;
        }
    }
    return npos;
}

Bytes withoutTrailingZeros(Bytes bytes) {
    while (!bytes.empty() && bytes.back() == 0) {
        bytes = bytes.first(bytes.size() - 1);
    }
    return bytes;
}

std::uint32_t bits(Bytes bytes, std::size_t first, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t bit = first; bit < first + count; ++bit) {
        value = value << 1U | (static_cast<std::uint32_t>(bytes[bit / 8]) >> (7 - bit % 8) & 1U);
    }
    return value;
}

}  // namespace

std::optional<std::uint32_t> adtsForm(Bytes packet) {
    constexpr std::size_t headerBytes = 7;
    constexpr std::uint32_t highestRateIndex = 12;
    if (packet.size() < headerBytes || bits(packet, 0, 12) != 0xFFF || bits(packet, 13, 2) != 0 ||
        bits(packet, 18, 4) > highestRateIndex) {
        return std::nullopt;
    }
    return bits(packet, 16, 2) << 8U | bits(packet, 18, 4) << 4U | bits(packet, 23, 3);
}

std::optional<std::uint32_t> mpegAudioForm(Bytes packet) {
    constexpr std::uint32_t singleChannel = 3;
    constexpr std::uint32_t reserved = 3;
    if (packet.size() < 4 || bits(packet, 0, 11) != 0x7FF || bits(packet, 11, 2) == 1 || bits(packet, 13, 2) == 0 ||
        bits(packet, 16, 4) == 15 || bits(packet, 20, 2) == reserved) {
        return std::nullopt;
    }
    const std::uint32_t isMono = bits(packet, 24, 2) == singleChannel ? 1 : 0;
    return bits(packet, 11, 4) << 8U | bits(packet, 20, 2) << 4U | isMono;
}

std::optional<std::uint32_t> ac3Form(Bytes packet) {
    constexpr std::uint32_t lastOfAc3 = 10;
    if (packet.size() < 8 || bits(packet, 0, 16) != 0x0B77) {
        return std::nullopt;
    }
    const std::uint32_t version = bits(packet, 40, 5);
    if (version > lastOfAc3) {
        constexpr std::uint32_t isDependent = 1;
        if (bits(packet, 16, 2) == isDependent || bits(packet, 18, 3) != 0) {
            return std::nullopt;
        }
        // Rate and half rate, channels and low frequencies.
        return 1U << 16U | bits(packet, 32, 2) << 8U | (bits(packet, 32, 2) == 3 ? bits(packet, 34, 2) << 6U : 0) |
               bits(packet, 36, 4);
    }
    const std::uint32_t channels = bits(packet, 48, 3);
    // Up to two mix levels precede the flag of the low frequencies.
    std::size_t at = 51;
    at += (channels & 1U) != 0 && channels != 1 ? 2 : 0;
    at += (channels & 4U) != 0 ? 2 : 0;
    at += channels == 2 ? 2 : 0;
    return bits(packet, 32, 2) << 8U | version << 16U | channels << 1U | bits(packet, at, 1);
}

std::optional<std::uint32_t> dtsForm(Bytes packet) {
    constexpr std::uint32_t syncWord = 0x7FFE8001;
    if (packet.size() < 12 || bits(packet, 0, 32) != syncWord) {
        return std::nullopt;
    }
    // Channel arrangement, sampling rate, low frequencies.
    return bits(packet, 60, 6) << 8U | bits(packet, 66, 4) << 4U | bits(packet, 85, 2);
}

bool beginsWithStartCode(Bytes bytes) {
    return bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == 0 && (bytes[2] == 1 || (bytes[2] == 0 && bytes[3] == 1));
}

std::vector<Bytes> hevcParameterSets(Bytes bytes) {
    constexpr unsigned firstSet = 32;
    constexpr unsigned lastSet = 34;
    std::vector<Bytes> sets;
    for (std::size_t at = startCodeFrom(bytes, 0); at != npos;) {
        const std::size_t start = at + 3;
        const unsigned type = start < bytes.size() ? bytes[start] >> 1U & 0x3FU : firstSet;
        if (type < firstSet) {
            break;
        }
        at = startCodeFrom(bytes, start);
        if (type <= lastSet) {
            sets.push_back(withoutTrailingZeros(bytes.subspan(start, (at == npos ? bytes.size() : at) - start)));
        }
    }
    return sets;
}

}  // namespace worker::headers
