#include "mediaconverter/worker/accounting/ProgramParts.h"

#include "mediaconverter/ByteOrder.h"

#include <cstddef>
#include <utility>

namespace worker {

namespace {

using mediaconverter::bigEndian;

/// Ticks per second, without the extension (ISO/IEC 13818-1, 2.5.3.4).
constexpr std::int64_t clockRate = 90'000;

constexpr std::int64_t clockWrap = std::int64_t{1} << 33U;

/// Packs follow each other within 0.7 s (ISO/IEC 13818-1, 2.7.1); a recorder that paused leaves a larger gap.
constexpr std::int64_t mostBetweenPacks = 10 * clockRate;

/// The longest pause of all tracks of a broadcast format.
constexpr std::int64_t longestPause = 3600 * clockRate;

/// The system clock reference: 33 bits with a marker after the third and the eighteenth.
std::optional<std::int64_t> clockOf(std::span<const std::uint8_t> pack) {
    constexpr std::size_t firstByte = 4;
    constexpr std::size_t bytes = 5;
    if (pack.size() < firstByte + bytes) {
        return std::nullopt;
    }
    const std::uint64_t field = bigEndian(pack, firstByte, bytes);
    // The bits start after two in MPEG-2 and after four in MPEG-1.
    const std::uint64_t bits = (pack[firstByte] & 0xC0U) == 0x40 ? field >> 2U : field;
    return static_cast<std::int64_t>((bits >> 1U & 0x7FFFU) | (bits >> 17U & 0x7FFFU) << 15U |
                                     (bits >> 33U & 7U) << 30U);
}

/// The size, aspect and rate of the video (ISO/IEC 13818-2, 6.2.2.1); 0 if no sequence starts here.
std::uint64_t formOf(std::span<const std::uint8_t> payload) {
    constexpr std::uint64_t sequenceStart = 0x1B3;
    return payload.size() >= 8 && bigEndian(payload, 0, 4) == sequenceStart ? bigEndian(payload, 0, 8) : 0;
}

}  // namespace

bool ProgramParts::isReset(std::span<const std::uint8_t> packHeader) {
    const auto clock = clockOf(packHeader);
    if (!clock) {
        return false;
    }
    // A clock that wraps around continues.
    const std::int64_t ahead = (*clock - clock_.value_or(*clock) + clockWrap) % clockWrap;
    clock_ = clock;
    if (ahead <= mostBetweenPacks) {
        return false;
    }
    ++part_;
    isPause_ = ahead <= longestPause;
    return !isPause_;
}

bool ProgramParts::belongs(std::uint32_t stream, std::span<const std::uint8_t> payload) {
    const auto [last, isNew] = lastPart_.try_emplace(stream, part_);
    if (!isNew && last->second == part_) {
        return true;
    }
    last->second = part_;
    const std::uint64_t form = formOf(payload);
    if (isPause_ && form == 0) {
        return true;  // a stream may start after a pause, and a packet of a known one may continue a frame
    }
    const std::uint64_t before = std::exchange(form_[stream], form);
    if (isPause_) {
        return before == 0 || form == before;
    }
    return part_ == 0 || (!isNew && form == before);
}

}  // namespace worker
