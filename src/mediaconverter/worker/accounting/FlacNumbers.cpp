#include "mediaconverter/worker/accounting/FlacNumbers.h"

#include "mediaconverter/ByteOrder.h"

#include <bit>
#include <cstddef>

namespace worker {

namespace {

using mediaconverter::bigEndian;

using Bytes = std::span<const std::uint8_t>;

struct Header {
    bool countsSamples = false;
    std::int64_t number = 0;
    std::int64_t samples = 0;
};

/// Encoded like a character in UTF-8, with up to seven bytes. Advances `bytes`.
std::optional<std::int64_t> readNumber(Bytes& bytes) {
    const std::size_t ones = bytes.empty() ? 8 : static_cast<std::size_t>(std::countl_one(bytes[0]));
    const std::size_t width = ones == 0 ? 1 : ones;
    if (ones == 1 || width > 7 || width > bytes.size()) {
        return std::nullopt;
    }
    std::int64_t number = ones == 0 ? bytes[0] : bytes[0] & (0x7FU >> ones);
    for (const std::uint8_t byte : bytes.subspan(1, width - 1)) {
        number = number << 6U | (byte & 0x3FU);
    }
    bytes = bytes.subspan(width);
    return number;
}

/// From the four bits of the header (table 14) and, if these refer to them, the bytes after the number.
std::optional<std::int64_t> samplesOf(unsigned bits, Bytes afterNumber) {
    if (bits == 6 || bits == 7) {
        const std::size_t width = bits - 5;
        return afterNumber.size() < width
                   ? std::nullopt
                   : std::optional(static_cast<std::int64_t>(bigEndian(afterNumber, 0, width)) + 1);
    }
    if (bits == 0) {
        return std::nullopt;
    }
    return bits == 1 ? 192 : bits < 6 ? std::int64_t{576} << (bits - 2U) : std::int64_t{256} << (bits - 8U);
}

std::optional<Header> readHeader(Bytes frame) {
    constexpr std::size_t beforeNumber = 4;
    if (frame.size() < beforeNumber || frame[0] != 0xFF || (frame[1] & 0xFEU) != 0xF8) {
        return std::nullopt;
    }
    Bytes rest = frame.subspan(beforeNumber);
    const auto number = readNumber(rest);
    const auto samples = samplesOf(frame[2] >> 4U, rest);
    if (!number || !samples) {
        return std::nullopt;
    }
    return Header{(frame[1] & 1U) != 0, *number, *samples};
}

}  // namespace

bool FlacNumbers::follows(Bytes frame) {
    const auto header = readHeader(frame);
    if (!header) {
        next_.reset();
        return true;
    }
    if (samples_ == 0) {
        samples_ = header->countsSamples ? header->number : header->number * header->samples;
    }
    const bool isNext = !next_ || *next_ == header->number;
    next_ = header->number + (header->countsSamples ? header->samples : 1);
    samples_ += header->samples;
    return isNext;
}

}  // namespace worker
