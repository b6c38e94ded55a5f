#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <vector>

namespace worker {

class TrackClock;

/// The one timeline of a recording: it starts at 0 and never jumps back, whatever the recording's own clocks do. All
/// tracks share it, so that they stay in step across a jump.
class Timeline {
public:
    /// `origin` is the recording's time, in microseconds, that becomes 0. `clocksAreReset` tells that the format's
    /// clocks may start again at any time (broadcast streams), so that not every leap forward is a pause.
    Timeline(std::int64_t origin, bool clocksAreReset) : origin_(origin), clocksAreReset_(clocksAreReset) {}

    std::int64_t origin() const { return origin_; }

    /// False for no time at all and for one so far from 0, in microseconds, that only damage can have made it.
    static bool isCountable(std::int64_t time);

private:
    friend class TrackClock;

    struct Jump {
        std::int64_t size;   ///< added to what comes after it, in microseconds
        std::int64_t place;  ///< on the timeline, where the first track jumped
    };

    /// Where the track that has come furthest expects its next packet, in microseconds.
    std::int64_t furthest() const;

    std::int64_t origin_;
    bool clocksAreReset_;
    std::vector<Jump> jumps_;
    std::vector<const TrackClock*> clocks_;
};

/// One track's place on the timeline. The timeline must outlive it, and no clock may be used after one has gone.
class TrackClock {
public:
    TrackClock(Timeline& timeline, const AVStream& stream);

    TrackClock(const TrackClock&) = delete;
    TrackClock& operator=(const TrackClock&) = delete;

    /// Gives the packet's times, still in the stream's time base, as times of the timeline. Missing ones are made up
    /// from those before; none is missing afterwards but a presentation time that only the decoder knows.
    void place(AVPacket& packet);

    /// True for a packet whose time is far from where the track has come to: a pause, a clock that was reset, or a
    /// damaged time. The next packet decides.
    bool isLeap(const AVPacket& packet) const;

    /// False where the clock of another track jumped and this one went on as before: one of them is wrong.
    bool isInStep() const;

private:
    friend class Timeline;

    /// Jumps of the timeline that are applied to the track, and their sum in microseconds.
    struct Followed {
        std::size_t jumps = 0;
        std::int64_t sum = 0;
    };

    std::int64_t expected() const;
    void applyJumps();
    bool isDamaged(std::int64_t time) const;
    void followJump(std::int64_t time);
    void joinAt(std::int64_t time);
    Followed nearest(std::int64_t raw, std::int64_t place, std::int64_t earliest) const;
    bool isReset(std::int64_t place) const;

    Timeline& timeline_;
    const AVStream& stream_;
    const std::int64_t mostTime_;   ///< in the stream's time base
    const std::int64_t leastJump_;  ///< in the stream's time base
    Followed followed_;
    // These in the stream's time base: packets are many, and to convert their times is what placing them costs.
    std::int64_t offset_ = 0;  ///< added to the stream's times
    std::int64_t expected_ = AV_NOPTS_VALUE;
};

}  // namespace worker
