#include "mediaconverter/worker/Timeline.h"

#include "mediaconverter/worker/Failure.h"

#include <algorithm>
#include <cstdlib>

namespace worker {

namespace {

/// Less than this is disorder among neighbours, not a clock that was set back.
constexpr std::int64_t leastJumpBack = AV_TIME_BASE;

/// A broadcast clock that leaps further than this was set anew; less is a gap in the recording.
constexpr std::int64_t mostGap = std::int64_t{10} * AV_TIME_BASE;

/// No picture is decoded this long before it is shown, however seldom there is one.
constexpr std::int64_t mostDelay = std::int64_t{3600} * AV_TIME_BASE;

/// Two tracks' jumps that differ by less than this are the same event.
constexpr std::int64_t sameJump = AV_TIME_BASE;

/// A clock that leaps further than this was set anew, whatever the format: no recording pauses for a month.
constexpr std::int64_t mostPause = std::int64_t{30} * 24 * 3600 * AV_TIME_BASE;

/// Times further from 0 than this are damage: 140 years, so that a clock that counts from 1970 is none.
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

/// A bound in another time base; no bound where it can't be counted there.
std::int64_t bound(std::int64_t microseconds, AVRational base) {
    const std::int64_t result = av_rescale_q(microseconds, AV_TIME_BASE_Q, base);
    return result == INT64_MIN ? INT64_MAX : std::max<std::int64_t>(result, 1);
}

std::int64_t frameDuration(const AVStream& stream, const AVPacket& packet) {
    if (packet.duration > 0 && av_compare_ts(packet.duration, stream.time_base, mostPause, AV_TIME_BASE_Q) < 0) {
        return packet.duration;
    }
    const AVRational rate = stream.avg_frame_rate.num > 0 ? stream.avg_frame_rate : stream.r_frame_rate;
    return rate.num > 0 && rate.den > 0 ? std::max<std::int64_t>(1, av_rescale_q(1, av_inv_q(rate), stream.time_base))
                                        : 1;
}

}  // namespace

bool Timeline::isCountable(std::int64_t time) {
    return time != AV_NOPTS_VALUE && time > -mostTime && time < mostTime;
}

TrackClock::TrackClock(Timeline& timeline, const AVStream& stream)
    : timeline_(timeline),
      stream_(stream),
      mostTime_(bound(mostTime, stream.time_base)),
      leastJump_(bound(leastJumpBack, stream.time_base)) {
    jump(0);
}

void TrackClock::place(AVPacket& packet) {
    for (std::int64_t* const time : {&packet.pts, &packet.dts}) {
        if (isDamaged(*time)) {
            *time = AV_NOPTS_VALUE;
        }
    }
    if (packet.dts != AV_NOPTS_VALUE && packet.pts != AV_NOPTS_VALUE &&
        std::llabs(av_rescale_q(sum(packet.pts, -packet.dts), stream_.time_base, AV_TIME_BASE_Q)) > mostDelay) {
        packet.pts = AV_NOPTS_VALUE;
    }
    const std::int64_t duration = frameDuration(stream_, packet);
    packet.duration = packet.duration > 0 ? duration : packet.duration;
    if (packet.dts == AV_NOPTS_VALUE && packet.pts != AV_NOPTS_VALUE && expected_ == AV_NOPTS_VALUE) {
        // The first frames of a stream with reordering: decoding begins that many frames before showing.
        packet.dts = packet.pts - duration * stream_.codecpar->video_delay;
    }
    if (packet.dts == AV_NOPTS_VALUE) {
        packet.dts = expected_ != AV_NOPTS_VALUE ? sum(expected_, -offset_) : packet.pts;
    }
    if (packet.dts == AV_NOPTS_VALUE) {
        packet.dts = -offset_;
    }
    if (expected_ != AV_NOPTS_VALUE) {
        if (const std::int64_t ahead = sum(sum(packet.dts, offset_), -expected_); std::llabs(ahead) > leastJump_) {
            followJump(ahead);
        }
    } else {
        joinAt(packet.dts);
    }
    packet.dts = sum(packet.dts, offset_);
    if (packet.pts != AV_NOPTS_VALUE) {
        packet.pts = sum(packet.pts, offset_);
    }
    expected_ = sum(packet.dts, duration);
    timeline_.latest_ = packet.dts;
    timeline_.latestBase_ = stream_.time_base;
}

bool TrackClock::isLeap(const AVPacket& packet) const {
    // Where pictures are out of order, only the decoding times go on and on.
    const std::int64_t time =
        packet.dts == AV_NOPTS_VALUE && stream_.codecpar->video_delay == 0 ? packet.pts : packet.dts;
    return time != AV_NOPTS_VALUE && expected_ != AV_NOPTS_VALUE && !isDamaged(time) &&
           std::llabs(sum(sum(time, offset_), -expected_)) > leastJump_;
}

bool TrackClock::isDamaged(std::int64_t time) const {
    return time != AV_NOPTS_VALUE && (time <= -mostTime_ || time >= mostTime_);
}

void TrackClock::jump(std::int64_t size) {
    jumped_ = sum(jumped_, size);
    offset_ = rescaled(sum(jumped_, -timeline_.origin_), AV_TIME_BASE_Q, stream_.time_base);
}

void TrackClock::joinAt(std::int64_t time) {
    // A track that begins late may begin behind jumps of the others: where it comes closest to them.
    const std::int64_t raw = sum(rescaled(time, stream_.time_base, AV_TIME_BASE_Q), -timeline_.origin_);
    const std::int64_t latest = rescaled(timeline_.latest_, timeline_.latestBase_, AV_TIME_BASE_Q);
    std::int64_t nearest = std::llabs(sum(raw, -latest));
    std::int64_t total = 0;
    for (std::size_t index = 0; index < timeline_.jumps_.size(); ++index) {
        total = sum(total, timeline_.jumps_[index].size);
        if (const std::int64_t distance = std::llabs(sum(sum(raw, total), -latest)); distance < nearest) {
            nearest = distance;
            jumpsFollowed_ = index + 1;
            jumped_ = total;
        }
    }
    jump(0);
}

void TrackClock::followJump(std::int64_t ticks) {
    const std::int64_t ahead = rescaled(ticks, stream_.time_base, AV_TIME_BASE_Q);
    const bool isJump = ahead < -leastJumpBack || ahead > mostPause || (timeline_.clocksAreReset_ && ahead > mostGap);
    if (!isJump || stream_.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE) {
        return;
    }
    std::int64_t size = -ahead;
    if (jumpsFollowed_ < timeline_.jumps_.size()) {
        const std::int64_t others = timeline_.jumps_[jumpsFollowed_].size;
        if (std::llabs(sum(others, -size)) < sameJump) {
            size = others;
        }
    } else {
        timeline_.jumps_.push_back({size});
    }
    ++jumpsFollowed_;
    jump(size);
}

}  // namespace worker
