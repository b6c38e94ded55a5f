#include "mediaconverter/worker/times/Timeline.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/times/FrameDuration.h"
#include "mediaconverter/worker/times/MicrosecondBase.h"

#include <algorithm>
#include <cstdlib>

namespace worker {

namespace {

/// A smaller step back is disorder among neighbouring packets, not a clock that was reset.
constexpr std::int64_t leastJumpBack = AV_TIME_BASE;

/// If all tracks of a broadcast stream jump further ahead than this, their clock was reset; less is a pause.
constexpr std::int64_t mostSharedPause = std::int64_t{3600} * AV_TIME_BASE;

/// A track that continues for this long without a jump does not follow the jump of another.
constexpr std::int64_t mostBelated = std::int64_t{10} * AV_TIME_BASE;

/// No frame is decoded this long before it is shown, however low the frame rate.
constexpr std::int64_t mostDelay = std::int64_t{3600} * AV_TIME_BASE;

/// A clock that jumps further than this was reset, whatever the format: no recording pauses for a month.
constexpr std::int64_t mostPause = std::int64_t{30} * 24 * 3600 * AV_TIME_BASE;

/// Times further from 0 than this are damage: 140 years, so that clocks that count from 1970 are accepted.
constexpr std::int64_t mostTime = std::int64_t{1} << 52U;

Failure tooLong() {
    return Failure(ConversionError::limitExceeded, "its times go beyond what can be counted");
}

std::int64_t sum(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    if (__builtin_add_overflow(a, b, &result)) {
        throw tooLong();
    }
    return result;
}

std::int64_t rescaled(std::int64_t time, AVRational from, AVRational to) {
    const std::int64_t result = av_rescale_q(time, from, to);
    if (result == INT64_MIN) {
        throw tooLong();
    }
    return result;
}

/// The limit in another time base; no limit if it cannot be represented there.
std::int64_t bound(std::int64_t microseconds, AVRational base) {
    const std::int64_t result = av_rescale_q(microseconds, microsecondBase, base);
    return result == INT64_MIN ? INT64_MAX : std::max<std::int64_t>(result, 1);
}

std::int64_t frameDuration(const AVStream& stream, const AVPacket& packet) {
    if (packet.duration > 0 && av_compare_ts(packet.duration, stream.time_base, mostPause, microsecondBase) < 0) {
        return packet.duration;
    }
    return usualFrameDuration(stream);
}

}  // namespace

bool Timeline::isCountable(std::int64_t time) {
    return time != AV_NOPTS_VALUE && time > -mostTime && time < mostTime;
}

std::int64_t Timeline::furthest() const {
    std::int64_t furthest = 0;
    for (const TrackClock* const clock : clocks_) {
        if (clock->expected_ != AV_NOPTS_VALUE) {
            furthest = std::max(furthest, clock->expected());
        }
    }
    return furthest;
}

TrackClock::TrackClock(Timeline& timeline, const AVStream& stream)
    : timeline_(timeline),
      stream_(stream),
      mostTime_(bound(mostTime, stream.time_base)),
      leastJump_(bound(leastJumpBack, stream.time_base)) {
    timeline_.clocks_.push_back(this);
    applyJumps();
}

void TrackClock::place(AVPacket& packet) {
    for (std::int64_t* const time : {&packet.pts, &packet.dts}) {
        if (isDamaged(*time)) {
            *time = AV_NOPTS_VALUE;
        }
    }
    if (packet.dts != AV_NOPTS_VALUE && packet.pts != AV_NOPTS_VALUE &&
        std::llabs(av_rescale_q(sum(packet.pts, -packet.dts), stream_.time_base, microsecondBase)) > mostDelay) {
        packet.pts = AV_NOPTS_VALUE;
    }
    const std::int64_t duration = frameDuration(stream_, packet);
    packet.duration = packet.duration > 0 ? duration : packet.duration;
    if (packet.dts == AV_NOPTS_VALUE && packet.pts != AV_NOPTS_VALUE && expected_ == AV_NOPTS_VALUE) {
        // The first frames of a stream with reordering: decoding starts that many frames before presentation.
        packet.dts = packet.pts - duration * stream_.codecpar->video_delay;
    }
    if (packet.dts == AV_NOPTS_VALUE) {
        packet.dts = expected_ != AV_NOPTS_VALUE ? sum(expected_, -offset_) : packet.pts;
    }
    if (packet.dts == AV_NOPTS_VALUE) {
        packet.dts = -offset_;
    }
    if (expected_ != AV_NOPTS_VALUE) {
        if (std::llabs(sum(sum(packet.dts, offset_), -expected_)) > leastJump_) {
            followJump(packet.dts);
        }
    } else {
        joinAt(packet.dts);
    }
    packet.dts = sum(packet.dts, offset_);
    if (packet.pts != AV_NOPTS_VALUE) {
        packet.pts = sum(packet.pts, offset_);
    }
    expected_ = sum(packet.dts, duration);
}

bool TrackClock::isLeap(const AVPacket& packet) const {
    // If frames are reordered, only the decoding times increase monotonically.
    const std::int64_t time =
        packet.dts == AV_NOPTS_VALUE && stream_.codecpar->video_delay == 0 ? packet.pts : packet.dts;
    return time != AV_NOPTS_VALUE && expected_ != AV_NOPTS_VALUE && !isDamaged(time) &&
           std::llabs(sum(sum(time, offset_), -expected_)) > leastJump_;
}

bool TrackClock::isDamaged(std::int64_t time) const {
    return time != AV_NOPTS_VALUE && (time <= -mostTime_ || time >= mostTime_);
}

bool TrackClock::isInStep() const {
    const std::vector<Timeline::Jump>& jumps = timeline_.jumps_;
    return followed_.jumps == jumps.size() || expected_ == AV_NOPTS_VALUE ||
           stream_.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE ||
           expected() < sum(jumps[followed_.jumps].place, mostBelated);
}

std::int64_t TrackClock::expected() const {
    return rescaled(expected_, stream_.time_base, microsecondBase);
}

void TrackClock::applyJumps() {
    offset_ = rescaled(sum(followed_.sum, -timeline_.origin_), microsecondBase, stream_.time_base);
}

void TrackClock::joinAt(std::int64_t time) {
    // A track that starts late may start after jumps of the others: use the one that brings it closest to them.
    const std::int64_t raw = sum(rescaled(time, stream_.time_base, microsecondBase), -timeline_.origin_);
    followed_ = nearest(raw, timeline_.furthest(), INT64_MIN);
    applyJumps();
}

TrackClock::Followed TrackClock::nearest(std::int64_t raw, std::int64_t place, std::int64_t earliest) const {
    Followed best = followed_;
    Followed next = followed_;
    while (next.jumps < timeline_.jumps_.size()) {
        next = {next.jumps + 1, sum(next.sum, timeline_.jumps_[next.jumps].size)};
        const std::int64_t landing = sum(raw, next.sum);
        if (landing >= earliest && std::llabs(sum(landing, -place)) < std::llabs(sum(sum(raw, best.sum), -place))) {
            best = next;
        }
    }
    return best;
}

void TrackClock::followJump(std::int64_t time) {
    const std::int64_t raw = sum(rescaled(time, stream_.time_base, microsecondBase), -timeline_.origin_);
    const std::int64_t furthest = timeline_.furthest();
    followed_ = nearest(raw, furthest, sum(expected(), -leastJumpBack));
    // Texts are too rare to tell a reset clock from a pause.
    const bool isSparse = stream_.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE;
    if (!isSparse && isReset(sum(raw, followed_.sum))) {
        // After all tracks, so that none has to go back for another.
        const std::int64_t size = sum(furthest, -sum(raw, followed_.sum));
        timeline_.jumps_.push_back({size, furthest});
        followed_ = {timeline_.jumps_.size(), sum(followed_.sum, size)};
    }
    applyJumps();
}

bool TrackClock::isReset(std::int64_t place) const {
    const std::int64_t ahead = sum(place, -expected());
    if (ahead < -leastJumpBack || ahead > mostPause) {
        return true;
    }
    // If another track has come as far meanwhile, this one only paused.
    return timeline_.clocksAreReset_ && sum(place, -timeline_.furthest()) > mostSharedPause;
}

}  // namespace worker
