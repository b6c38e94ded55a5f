#pragma once

#include "mediaconverter/worker/times/FrameTimes.h"
#include "mediaconverter/worker/times/SampleTimes.h"
#include "mediaconverter/worker/times/SourceTimes.h"
#include "mediaconverter/worker/times/Timeline.h"
#include "mediaconverter/worker/tracks/FormWatch.h"
#include "mediaconverter/worker/tracks/TrackForm.h"
#include "mediaconverter/worker/writing/Mp4Writer.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace worker {

/// Thrown when a copied stream continues with other parameters than those the MP4 was started with.
struct ChangedStream {
    int index;
};

/// Turns one stream of the recording into one track of the MP4. Throws Failure.
class Track {
public:
    Track(const AVStream& source, AVStream& target, Timeline& timeline);
    virtual ~Track() = default;

    Track(const Track&) = delete;
    Track& operator=(const Track&) = delete;

    /// Accepts one packet of the source's stream and moves its content out. A packet that jumps in time waits for the
    /// next one, which shows whether its time is damaged.
    void accept(AVPacket& packet, Mp4Writer& writer);

    /// There are no more packets.
    void finish(Mp4Writer& writer);

    /// Only learns the track's form from the packet; nullptr when there are no more. For the rest of a recording after
    /// OutgrownForm.
    virtual void survey(const AVPacket*) {}

    /// The largest form so far; null if it does not matter.
    virtual const TrackForm* form() const { return nullptr; }

    /// Whether packets leave in the order and number in which they arrive.
    virtual bool isCopy() const { return false; }

    /// Number of packets that could not be decoded and were dropped.
    std::int64_t undecodable() const { return undecodable_; }

    /// Number of frames of which the decoder made up a part.
    std::int64_t concealed() const { return concealed_; }

    /// Number of packets whose time was damaged and was estimated.
    std::int64_t damagedTimes() const { return damagedTimes_; }

    /// False where the clocks of the recording's streams contradict each other.
    bool isInStep() const { return clock_.isInStep(); }

    const AVStream& source() const { return source_; }

    /// When the packets are shown according to the source, on the timeline: minus the origin, with jumps of the clocks
    /// closed, and otherwise unchanged.
    const SourceTimes& sourceTimes() const { return sourceTimes_; }

protected:
    /// Like accept(), for each packet in its turn.
    virtual void pass(AVPacket& packet, Mp4Writer& writer) = 0;

    /// Like finish(), after all packets have been passed.
    virtual void end(Mp4Writer&) {}

    AVStream& target() { return target_; }
    TrackClock& clock() { return clock_; }
    SourceTimes& witness() { return sourceTimes_; }
    void countUndecodable() { ++undecodable_; }
    void countConcealed() { ++concealed_; }

    /// Copies the source's rotation, light level and the like to the target. Call after the target's codec parameters
    /// are set, which hold this data since FFmpeg 6.1.
    void copySideData();

    /// Passes the packet to the writer as one of this track; its times are in `base`.
    void send(AVPacket& packet, AVRational base, Mp4Writer& writer);

private:
    const AVStream& source_;
    AVStream& target_;
    TrackClock clock_;
    SourceTimes sourceTimes_;
    void passWaiting(Mp4Writer& writer);

    std::int64_t undecodable_ = 0;
    std::int64_t concealed_ = 0;
    std::int64_t damagedTimes_ = 0;
    const PacketPointer waiting_;
    bool isWaiting_ = false;
};

/// A stream that MP4 can hold: every packet's payload stays unchanged.
class CopiedTrack final : public Track {
public:
    /// With `repeatsParameters`, the current parameters precede every frame at which playback can start, so that they
    /// may change in mid-stream; otherwise a change throws ChangedStream.
    /// `grid` holds the exact times of video whose container rounds them.
    CopiedTrack(const AVStream& source, AVStream& target, Timeline& timeline, bool repeatsParameters,
                const std::optional<FrameGrid>& grid = std::nullopt);

    /// Whether the stream's parameters can be repeated.
    static bool canRepeatParameters(const AVStream& stream);

    bool isCopy() const override { return true; }

private:
    void pass(AVPacket& packet, Mp4Writer& writer) override;
    bool isIntact(const AVPacket& packet);
    void followParameters(AVPacket& packet);
    void putBefore(AVPacket& packet) const;

    FormWatch form_;
    bool countsSamples_;
    SampleTimes samples_;
    std::optional<FrameTimes> frames_;
    bool repeatsParameters_;
    std::vector<std::uint8_t> parameters_;  ///< the current ones, as units of the stream
};

}  // namespace worker
