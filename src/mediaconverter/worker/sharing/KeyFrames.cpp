#include "mediaconverter/worker/sharing/KeyFrames.h"

#include "mediaconverter/ByteOrder.h"
#include "mediaconverter/worker/accounting/PayloadCheck.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Calls `visit(unit)` for each unit, until it returns false.
template<typename Visit>
void forEachUnit(Bytes frame, std::size_t width, Visit visit) {
    while (frame.size() > width) {
        const std::uint64_t length = mediaconverter::bigEndian(frame, 0, width);
        frame = frame.subspan(width);
        if (length > frame.size() || (length > 0 && !visit(frame.first(static_cast<std::size_t>(length))))) {
            return;
        }
        frame = frame.subspan(static_cast<std::size_t>(length));
    }
}

/// The bytes of a unit without those that keep start codes out of it (ITU-T H.264, 7.4.1).
std::vector<std::uint8_t> unescaped(Bytes unit) {
    std::vector<std::uint8_t> bytes;
    unsigned zeros = 0;
    for (const std::uint8_t byte : unit) {
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        bytes.push_back(byte);
    }
    return bytes;
}

/// A number that is the sum of bytes of 255 and the first smaller one.
std::size_t readSum(Bytes& bytes) {
    std::size_t sum = 0;
    while (!bytes.empty()) {
        const std::uint8_t byte = bytes[0];
        bytes = bytes.subspan(1);
        sum += byte;
        if (byte < 255) {
            break;
        }
    }
    return sum;
}

/// Whether the unit of supplemental information has a message "recovery point" (ITU-T H.264, D.1.1 and D.1.8).
bool hasRecoveryPoint(Bytes unit) {
    constexpr std::size_t recoveryPoint = 6;
    constexpr std::size_t leastMessage = 2;
    const std::vector<std::uint8_t> bytes = unescaped(unit.subspan(1));
    for (Bytes rest = bytes; rest.size() > leastMessage;) {
        const std::size_t type = readSum(rest);
        const std::size_t size = readSum(rest);
        if (type == recoveryPoint) {
            return true;
        }
        rest = rest.subspan(std::min(size, rest.size()));
    }
    return false;
}

/// Types of units: ITU-T H.264, table 7-1.
bool isKeyH264(Bytes frame, std::size_t width) {
    constexpr unsigned slice = 1;
    constexpr unsigned firstPartition = 2;
    constexpr unsigned instantRefresh = 5;
    constexpr unsigned information = 6;
    bool isKey = false;
    forEachUnit(frame, width, [&](Bytes unit) {
        const unsigned type = unit[0] & 0x1FU;
        isKey = isKey || type == instantRefresh || (type == information && hasRecoveryPoint(unit));
        return type != slice && type != firstPartition && type != instantRefresh;
    });
    return isKey;
}

/// Types of units: ITU-T H.265, table 7-1.
bool isKeyHevc(Bytes frame, std::size_t width) {
    constexpr unsigned firstRandomAccess = 16;
    constexpr unsigned lastRandomAccess = 23;
    constexpr unsigned lastSlice = 31;
    bool isKey = false;
    forEachUnit(frame, width, [&](Bytes unit) {
        const unsigned type = unit[0] >> 1U & 0x3FU;
        isKey = type >= firstRandomAccess && type <= lastRandomAccess;
        return type > lastSlice;
    });
    return isKey;
}

}  // namespace

bool KeyFrames::arePossible(const AVCodecParameters& stream) {
    return unitLengthWidth(stream) > 0;
}

bool KeyFrames::isKey(const AVCodecParameters& stream, Bytes frame) {
    const std::size_t width = unitLengthWidth(stream);
    return stream.codec_id == AV_CODEC_ID_H264 ? isKeyH264(frame, width) : isKeyHevc(frame, width);
}

}  // namespace worker
