#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/Mp4File.h"

#include <cstdint>
#include <vector>

namespace worker {

/// What went into one track, for the proof.
struct TrackTally {
    std::int64_t packets = 0;
    std::int64_t bytes = 0;
    std::int64_t firstDecodingTime = AV_NOPTS_VALUE;  ///< in the track's time base
    std::int64_t lastDecodingTime = AV_NOPTS_VALUE;
    std::int64_t lastDuration = 0;
    std::int64_t firstTime = AV_NOPTS_VALUE;  ///< at which the first packet is shown
    std::int64_t end = 0;                     ///< at which the last one has been shown
};

/// The muxer. Packets arrive with the times of their track in its time base and leave with times that an MP4 can
/// hold. Throws Failure.
class Mp4Writer {
public:
    Mp4Writer(int descriptor, std::int64_t indexEstimate);

    AVFormatContext& format() { return *format_; }

    /// A new track, to be described before start().
    AVStream& addTrack();

    /// Writes the header. `keepOrder` tells that packets come interleaved, as the source has them.
    void start(bool keepOrder);

    /// Takes the packet's content and leaves it blank. One that is too damaged to be stored is passed over.
    void write(AVPacket& packet);

    /// How many were.
    std::int64_t refused() const { return refused_; }

    /// Ends the file: samples, index in front.
    void finish();

    const std::vector<TrackTally>& tallies() const { return tallies_; }

private:
    void repairTimes(AVPacket& packet, TrackTally& tally) const;
    bool isOutOfOrder(const AVPacket& packet);

    Mp4File file_;
    OutputPointer format_;
    std::vector<TrackTally> tallies_;
    bool keepOrder_ = false;
    std::int64_t furthest_ = INT64_MIN;
    std::int64_t refused_ = 0;
};

}  // namespace worker
