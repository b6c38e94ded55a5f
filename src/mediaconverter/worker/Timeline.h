#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <vector>

namespace worker {

/// The one timeline of a recording: it starts at 0 and never jumps back, whatever the recording's own clocks do. All
/// tracks share it, so that they stay in step across a jump.
class Timeline {
public:
    /// `origin` is the recording's time, in microseconds, that becomes 0. `clocksAreReset` tells that the format's
    /// clocks may start anew at any time (broadcast streams), so that a leap forward is no pause either.
    Timeline(std::int64_t origin, bool clocksAreReset) : origin_(origin), clocksAreReset_(clocksAreReset) {}

    std::int64_t origin() const { return origin_; }

    /// False for no time at all and for one so far from 0, in microseconds, that only damage can have made it.
    static bool isCountable(std::int64_t time);

private:
    friend class TrackClock;

    struct Jump {
        std::int64_t size;  ///< added to what comes after it, in microseconds
    };

    std::int64_t origin_;
    bool clocksAreReset_;
    std::vector<Jump> jumps_;
    std::int64_t latest_ = 0;  ///< place of the packet before, whatever its track
    AVRational latestBase_ = {1, AV_TIME_BASE};
};

/// One track's place on the timeline.
class TrackClock {
public:
    TrackClock(Timeline& timeline, const AVStream& stream);

    /// Gives the packet's times, still in the stream's time base, as times of the timeline. Missing ones are made up
    /// from those before; none is missing afterwards but a presentation time that only the decoder knows.
    void place(AVPacket& packet);

    /// True for a packet whose time is far from where the track has come to: a pause, a clock that was set anew, or a
    /// damaged time. The packet behind it tells which.
    bool isLeap(const AVPacket& packet) const;

private:
    void jump(std::int64_t size);
    bool isDamaged(std::int64_t time) const;
    void followJump(std::int64_t ticks);
    void joinAt(std::int64_t time);

    Timeline& timeline_;
    const AVStream& stream_;
    const std::int64_t mostTime_;   ///< in the stream's time base
    const std::int64_t leastJump_;  ///< in the stream's time base
    std::size_t jumpsFollowed_ = 0;
    std::int64_t jumped_ = 0;
    // These in the stream's time base: packets are many, and to convert their times is what placing them costs.
    std::int64_t offset_ = 0;  ///< added to the stream's times
    std::int64_t expected_ = AV_NOPTS_VALUE;
};

}  // namespace worker
