#pragma once

#include "mediaconverter/worker/FormWatch.h"
#include "mediaconverter/worker/Mp4Writer.h"
#include "mediaconverter/worker/SourceTimes.h"
#include "mediaconverter/worker/Timeline.h"
#include "mediaconverter/worker/TrackForm.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace worker {

/// Thrown when a copied stream goes on with other parameters than the MP4 was begun with.
struct ChangedStream {
    int index;
};

/// One stream of the recording on its way to one track of the MP4. Throws Failure.
class Track {
public:
    Track(const AVStream& source, AVStream& target, Timeline& timeline);
    virtual ~Track() = default;

    Track(const Track&) = delete;
    Track& operator=(const Track&) = delete;

    /// One packet of the source's stream; its content is taken. One that leaps in time waits for the next, which tells
    /// whether its time is damaged.
    void accept(AVPacket& packet, Mp4Writer& writer);

    /// Nothing more comes.
    void finish(Mp4Writer& writer);

    /// Only learns from the packet what form the track takes; nullptr when nothing more comes. For the rest of a
    /// recording after OutgrownForm.
    virtual void survey(const AVPacket*) {}

    /// The largest form so far; none where it does not matter.
    virtual const TrackForm* form() const { return nullptr; }

    /// True where packets leave in the order and number in which they come.
    virtual bool isCopy() const { return false; }

    /// Packets that could not be decoded and were passed over.
    std::int64_t undecodable() const { return undecodable_; }

    /// Frames of which the decoder made up a part.
    std::int64_t concealed() const { return concealed_; }

    /// Packets whose time was damaged and was made up anew.
    std::int64_t damagedTimes() const { return damagedTimes_; }

    /// False where the clocks of the recording's streams contradict each other.
    bool isInStep() const { return clock_.isInStep(); }

    const AVStream& source() const { return source_; }

    /// What the source says about when its packets are shown, on the timeline: the origin taken away and jumps of the
    /// clocks closed, nothing else.
    const SourceTimes& sourceTimes() const { return sourceTimes_; }

protected:
    /// As accept(), and each packet in its turn.
    virtual void pass(AVPacket& packet, Mp4Writer& writer) = 0;

    /// As finish(), when all packets have been passed.
    virtual void end(Mp4Writer&) {}

    AVStream& target() { return target_; }
    TrackClock& clock() { return clock_; }
    SourceTimes& witness() { return sourceTimes_; }
    void countUndecodable() { ++undecodable_; }
    void countConcealed() { ++concealed_; }

    /// Gives the target the source's rotation, light level and the like. After the target's codec parameters are set,
    /// which since FFmpeg 6.1 hold them.
    void copySideData();

    /// Gives the packet to the writer as one of this track; its times are in `base`.
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

/// A stream that MP4 holds as it is: every packet's payload stays what it was.
class CopiedTrack final : public Track {
public:
    /// Where `repeatsParameters`, the parameters in force stand before every picture that can be begun with, so that
    /// they may change on the way; else a change throws ChangedStream.
    CopiedTrack(const AVStream& source, AVStream& target, Timeline& timeline, bool repeatsParameters);

    /// True for a stream whose parameters can be repeated.
    static bool canRepeatParameters(const AVStream& stream);

    bool isCopy() const override { return true; }

private:
    void pass(AVPacket& packet, Mp4Writer& writer) override;
    bool isIntact(const AVPacket& packet);
    void placeSamples(AVPacket& packet);
    void followParameters(AVPacket& packet);
    void putBefore(AVPacket& packet) const;

    FormWatch form_;
    bool countsSamples_;
    bool repeatsParameters_;
    std::vector<std::uint8_t> parameters_;  ///< those in force, as units of the stream
    std::int64_t lastSample_ = AV_NOPTS_VALUE;
};

}  // namespace worker
