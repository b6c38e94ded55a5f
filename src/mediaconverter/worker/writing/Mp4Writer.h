#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/proof/TrackDigest.h"
#include "mediaconverter/worker/times/StorableTimes.h"
#include "mediaconverter/worker/writing/Interleaver.h"
#include "mediaconverter/worker/writing/MuxerFile.h"
#include "mediaconverter/worker/writing/MuxerFilter.h"
#include "mediaconverter/worker/writing/StoredPayload.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace worker {

/// What was written to one track, for the verification.
struct TrackTally {
    std::int64_t packets = 0;
    TrackDigest digest;
    std::int64_t firstDecodingTime = AV_NOPTS_VALUE;  ///< in the track's time base
    std::int64_t lastDecodingTime = AV_NOPTS_VALUE;
    std::int64_t lastDuration = 0;
    std::int64_t firstTime = AV_NOPTS_VALUE;  ///< when the first packet is shown
    std::int64_t end = 0;                     ///< when the last packet ends
};

/// The muxer. Packets arrive with times in their track's time base and leave with times that an MP4 can hold. Throws
/// Failure, and TrackFailure if the muxer refuses one track's header or many of its packets.
class Mp4Writer {
public:
    explicit Mp4Writer(std::unique_ptr<MuxerFile> file);

    AVFormatContext& format() { return *format_; }

    /// A new track, to be described before start().
    AVStream& addTrack();

    /// The clocks of the tracks.
    enum class Clocks {
        exact,        ///< those of their streams; the writer throws LongPause if they cannot count a pause
        milliseconds  ///< for recordings with such pauses
    };

    /// Writes the header. With `keepOrder`, packets arrive interleaved, in the source's order.
    void start(bool keepOrder, Clocks clocks = Clocks::exact);

    /// Moves the content out of the packet and leaves it blank. Drops a packet that is too damaged to be stored.
    void write(AVPacket& packet);

    /// Number of packets dropped.
    std::int64_t refused() const { return refused_; }

    /// Stores the packets that are still waiting; no more may be written.
    void storeRest();

    /// Call after storeRest(). Completes the file: samples, index in front.
    void finish();

    const std::vector<TrackTally>& tallies() const { return tallies_; }

    /// What the file holds beside the packets. Call after finish().
    std::span<const WrittenRange> writtenByMuxer() const { return file_->writtenByMuxer(); }

private:
    int writeHeader();
    bool isOutOfOrder(const AVPacket& packet);
    void storeQueued(bool all);
    void store(AVPacket& packet);
    int storeFiltered(AVPacket& packet);
    void refuse(std::size_t track, int error);
    void requireTracksWithPackets() const;
    void blameTrack(int error);
    std::vector<std::uint32_t> channelMasks() const;

    std::unique_ptr<MuxerFile> file_;
    OutputPointer format_;
    Interleaver queue_;
    std::vector<TrackTally> tallies_;
    std::vector<StorableTimes> times_;         ///< per track
    std::vector<std::int64_t> refusals_;       ///< per track
    std::vector<PacketPointer> firstPackets_;  ///< per track
    std::vector<MuxerFilter> filters_;         ///< per track
    std::vector<StoredPayload> stored_;        ///< per track
    bool keepOrder_ = false;
    Clocks clocks_ = Clocks::exact;
    std::int64_t furthest_ = INT64_MIN;
    std::int64_t refused_ = 0;
};

}  // namespace worker
