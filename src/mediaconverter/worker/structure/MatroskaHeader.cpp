#include "mediaconverter/worker/structure/MatroskaHeader.h"

#include "mediaconverter/worker/structure/EbmlChildren.h"
#include "mediaconverter/worker/structure/Irregularity.h"
#include "mediaconverter/worker/structure/MatroskaIds.h"

extern "C" {
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <bit>

namespace worker {

namespace {

constexpr std::int64_t nanoseconds = 1'000'000'000;

/// Longer delays and packets are nonsense.
constexpr std::uint64_t mostNanoseconds = std::uint64_t{3600} * nanoseconds;

bool isOne(const EbmlChild& child) {
    const std::uint64_t bits = numberIn(child);
    const bool isDouble = child.content.size() == sizeof(double) && std::bit_cast<double>(bits) == 1.0;
    return isDouble ||
           (child.content.size() == sizeof(float) && std::bit_cast<float>(static_cast<std::uint32_t>(bits)) == 1.0F);
}

std::int64_t timeIn(const EbmlChild& child) {
    const std::uint64_t time = numberIn(child);
    if (time > mostNanoseconds) {
        throw Irregularity{"an absurd duration in a track's header", child.position};
    }
    return static_cast<std::int64_t>(time);
}

MatroskaTrack readTrack(const EbmlChild& entry, std::int64_t scale) {
    // Video, audio, subtitles and metadata become streams, if their codec has a name.
    constexpr std::uint64_t streamTypes[] = {1, 2, 0x11, 0x21};
    MatroskaTrack track;
    bool isKnownType = false;
    bool hasCodec = false;
    for (const EbmlChild& child : ebmlChildren(entry.content, entry.position)) {
        if (child.id == matroska::trackNumber) {
            track.number = numberIn(child);
        } else if (child.id == matroska::trackType) {
            isKnownType = std::ranges::count(streamTypes, numberIn(child)) > 0;
        } else if (child.id == matroska::codecId) {
            hasCodec = !child.content.empty();
        } else if (child.id == matroska::contentEncodings) {
            track.keepsPayload = false;
        } else if (child.id == matroska::defaultDuration) {
            track.defaultDuration = timeIn(child);
        } else if (child.id == matroska::codecDelay) {
            track.delay = av_rescale_q(timeIn(child), {1, nanoseconds}, {static_cast<int>(scale), nanoseconds});
        } else if (child.id == matroska::trackTimestampScale && !isOne(child)) {
            throw Irregularity{"a track with a clock of its own", child.position};
        }
    }
    track.isStream = isKnownType && hasCodec;
    return track;
}

}  // namespace

std::int64_t readTimestampScale(std::span<const std::uint8_t> info, std::int64_t position) {
    std::uint64_t scale = 1'000'000;
    for (const EbmlChild& child : ebmlChildren(info, position)) {
        scale = child.id == matroska::timestampScale ? numberIn(child) : scale;
    }
    if (scale == 0 || scale > nanoseconds) {
        throw Irregularity{"a clock without a unit", position};
    }
    return static_cast<std::int64_t>(scale);
}

std::vector<MatroskaTrack> readMatroskaTracks(std::span<const std::uint8_t> tracks, std::int64_t scale,
                                              std::int64_t position) {
    std::vector<MatroskaTrack> read;
    for (const EbmlChild& child : ebmlChildren(tracks, position)) {
        if (child.id != matroska::trackEntry) {
            continue;
        }
        const MatroskaTrack track = readTrack(child, scale);
        const bool isTwice = std::ranges::count(read, track.number, &MatroskaTrack::number) > 0;
        if (track.number == 0 || isTwice) {
            throw Irregularity{"a track without a number of its own", child.position};
        }
        read.push_back(track);
    }
    return read;
}

}  // namespace worker
