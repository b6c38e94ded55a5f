#include "mediaconverter/worker/writing/StoredPayload.h"

#include "mediaconverter/ByteOrder.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// A text starts with the number of its bytes (3GPP TS 26.245, 5.17); an empty one has nothing else.
constexpr int leastText = 3;

bool startsWith(Bytes bytes, std::initializer_list<std::uint8_t> start) {
    return bytes.size() >= start.size() && std::equal(start.begin(), start.end(), bytes.begin());
}

/// Where the next start code begins, at `from` or later: two zeros and a one, or three zeros and a one (ITU-T H.264,
/// Annex B). The end if there is none. Like the muxer's search it finds none in the last three bytes.
std::size_t findStartCode(Bytes bytes, std::size_t from) {
    constexpr std::size_t zeros = 2;
    for (std::size_t at = from + zeros; at + 1 < bytes.size(); ++at) {
        const void* const one = std::memchr(bytes.data() + at, 1, bytes.size() - 1 - at);
        if (one == nullptr) {
            break;
        }
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(one) - bytes.data());
        if (bytes[at - 1] == 0 && bytes[at - 2] == 0) {
            const std::size_t start = at - zeros;
            return start > from && bytes[start - 1] == 0 ? start - 1 : start;
        }
    }
    return bytes.size();
}

std::int64_t addUnits(TrackDigest& digest, Bytes payload) {
    constexpr std::size_t lengthSize = 4;
    std::int64_t sum = 0;
    for (std::size_t at = findStartCode(payload, 0); at < payload.size();) {
        while (at < payload.size() && payload[at] == 0) {
            ++at;
        }
        at = std::min(at + 1, payload.size());
        if (at == payload.size()) {
            break;
        }
        const std::size_t end = findStartCode(payload, at);
        std::array<std::uint8_t, lengthSize> length{};
        mediaconverter::putBigEndian(length, 0, lengthSize, end - at);
        digest.addPayload(length);
        digest.addPayload(payload.subspan(at, end - at));
        sum += static_cast<std::int64_t>(lengthSize + end - at);
        at = end;
    }
    return sum;
}

/// A unit's type and its length with its header (AV1 specification, 5.3).
struct OpenUnit {
    unsigned type = 0;
    std::size_t length = 0;

    /// Delimiters, redundant headers, tile lists and padding (6.2.2).
    bool isLeftOut() const { return type == 2 || type == 7 || type == 8 || type == 15; }
};

OpenUnit firstUnit(Bytes bytes) {
    constexpr std::size_t mostSizeBytes = 8;
    OpenUnit unit = {(bytes[0] >> 3U) & 15U, bytes.size()};
    const bool hasExtension = (bytes[0] & 4U) != 0;
    const bool hasSize = (bytes[0] & 2U) != 0;
    const std::size_t header = hasExtension ? 2 : 1;
    std::uint64_t size = 0;
    for (std::size_t index = 0; hasSize && index < mostSizeBytes && header + index < bytes.size(); ++index) {
        const std::uint8_t byte = bytes[header + index];
        size |= std::uint64_t{byte & 0x7FU} << 7U * index;
        if ((byte & 0x80U) == 0) {
            unit.length = static_cast<std::size_t>(std::min<std::uint64_t>(header + index + 1 + size, bytes.size()));
            break;
        }
    }
    return unit;
}

std::int64_t addOpenUnits(TrackDigest& digest, Bytes payload) {
    std::int64_t sum = 0;
    while (!payload.empty()) {
        const OpenUnit unit = firstUnit(payload);
        if (!unit.isLeftOut()) {
            digest.addPayload(payload.first(unit.length));
            sum += static_cast<std::int64_t>(unit.length);
        }
        payload = payload.subspan(unit.length);
    }
    return sum;
}

}  // namespace

StoredPayload::StoredPayload(const AVCodecParameters& track)
    : form_(formOf(track)), leastSize_(track.codec_type == AVMEDIA_TYPE_SUBTITLE ? leastText : 0) {}

StoredPayload::Form StoredPayload::formOf(const AVCodecParameters& track) {
    // Parameter sets without start codes begin with a version (ISO/IEC 14496-15, 5.3.3 and 8.3.3).
    constexpr std::size_t leastOfHevc = 7;
    const Bytes parameters(track.extradata, static_cast<std::size_t>(track.extradata_size));
    switch (track.codec_id) {
    case AV_CODEC_ID_H264:
        return !parameters.empty() && parameters[0] != 1 ? Form::unitsWithStartCodes : Form::asItIs;
    case AV_CODEC_ID_HEVC:
        return parameters.size() >= leastOfHevc &&
                       (startsWith(parameters, {0, 0, 1}) || startsWith(parameters, {0, 0, 0, 1}))
                   ? Form::unitsWithStartCodes
                   : Form::asItIs;
    case AV_CODEC_ID_AV1:
        return Form::openBitstreamUnits;
    default:
        return Form::asItIs;
    }
}

std::int64_t StoredPayload::addTo(TrackDigest& digest, Bytes payload) const {
    switch (form_) {
    case Form::unitsWithStartCodes:
        return addUnits(digest, payload);
    case Form::openBitstreamUnits:
        return addOpenUnits(digest, payload);
    case Form::asItIs:
        break;
    }
    digest.addPayload(payload);
    return static_cast<std::int64_t>(payload.size());
}

}  // namespace worker
