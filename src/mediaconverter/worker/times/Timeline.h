#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <vector>

namespace worker {

class TrackClock;

/// The common timeline of a recording: it starts at 0 and never jumps back, whatever the recording's own clocks do. All
/// tracks share it, so that they stay in sync across a jump.
class Timeline {
public:
    /// `origin` is the time in the recording, in microseconds, that becomes 0. `clocksAreReset` means that the format's
    /// clocks may restart at any time (broadcast streams), so that not every jump forward is a pause.
    Timeline(std::int64_t origin, bool clocksAreReset) : origin_(origin), clocksAreReset_(clocksAreReset) {}

    std::int64_t origin() const { return origin_; }

    /// False for a missing time and for one so far from 0, in microseconds, that only damage explains it.
    static bool isCountable(std::int64_t time);

private:
    friend class TrackClock;

    struct Jump {
        std::int64_t size;   ///< added to all later times, in microseconds
        std::int64_t place;  ///< on the timeline, where the first track jumped
    };

    /// Where the most advanced track expects its next packet, in microseconds.
    std::int64_t furthest() const;

    std::int64_t origin_;
    bool clocksAreReset_;
    std::vector<Jump> jumps_;
    std::vector<const TrackClock*> clocks_;
};

/// One track's position on the timeline. The timeline must outlive it, and no clock may be used once one has been
/// destroyed.
class TrackClock {
public:
    TrackClock(Timeline& timeline, const AVStream& stream);

    TrackClock(const TrackClock&) = delete;
    TrackClock& operator=(const TrackClock&) = delete;

    /// Converts the packet's times, still in the stream's time base, to the timeline. Estimates missing times from
    /// those before; only a presentation time that the decoder alone knows may still be missing afterwards.
    void place(AVPacket& packet);

    /// Whether the packet's time is far from the track's position: a pause, a clock that was reset, or a damaged time.
    /// The next packet decides.
    bool isLeap(const AVPacket& packet) const;

    /// False if the clock of another track jumped and this one continued as before: one of them is wrong.
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
    // These are in the stream's time base: there are many packets, and converting their times would be the main cost.
    std::int64_t offset_ = 0;  ///< added to the stream's times
    std::int64_t expected_ = AV_NOPTS_VALUE;
};

}  // namespace worker
