#include "mediaconverter/worker/Timeline.h"

#include <algorithm>
#include <cstdlib>

namespace worker {

namespace {

/// Less than this is disorder among neighbours, not a clock that was set back.
constexpr std::int64_t leastJumpBack = AV_TIME_BASE;

/// A broadcast clock that leaps further than this was set anew; less is a gap in the recording.
constexpr std::int64_t mostGap = std::int64_t{10} * AV_TIME_BASE;

/// Two tracks' jumps that differ by less than this are the same event.
constexpr std::int64_t sameJump = AV_TIME_BASE;

std::int64_t frameDuration(const AVStream& stream, const AVPacket& packet) {
    if (packet.duration > 0) {
        return packet.duration;
    }
    const AVRational rate = stream.avg_frame_rate.num > 0 ? stream.avg_frame_rate : stream.r_frame_rate;
    return rate.num > 0 && rate.den > 0 ? std::max<std::int64_t>(1, av_rescale_q(1, av_inv_q(rate), stream.time_base))
                                        : 1;
}

}  // namespace

TrackClock::TrackClock(Timeline& timeline, const AVStream& stream) : timeline_(timeline), stream_(stream) {}

void TrackClock::place(AVPacket& packet) {
    const std::int64_t duration = frameDuration(stream_, packet);
    if (packet.dts == AV_NOPTS_VALUE && packet.pts != AV_NOPTS_VALUE && expected_ == AV_NOPTS_VALUE) {
        // The first frames of a stream with reordering: decoding begins that many frames before showing.
        packet.dts = packet.pts - duration * stream_.codecpar->video_delay;
    }
    if (packet.dts == AV_NOPTS_VALUE) {
        packet.dts = expected_ != AV_NOPTS_VALUE ? expected_ - offset() : packet.pts;
    }
    if (packet.dts == AV_NOPTS_VALUE) {
        packet.dts = -offset();
    }
    if (expected_ != AV_NOPTS_VALUE) {
        followJump(packet.dts + offset(), expected_);
    } else {
        joinAt(packet.dts);
    }
    const std::int64_t added = offset();
    packet.dts += added;
    if (packet.pts != AV_NOPTS_VALUE) {
        packet.pts += added;
    }
    expected_ = packet.dts + duration;
    timeline_.latest_ = av_rescale_q(packet.dts, stream_.time_base, AV_TIME_BASE_Q);
}

std::int64_t TrackClock::offset() const {
    return av_rescale_q(jumped_ - timeline_.origin_, AV_TIME_BASE_Q, stream_.time_base);
}

void TrackClock::joinAt(std::int64_t time) {
    // A track that begins late may begin behind jumps of the others: where it comes closest to them.
    const std::int64_t raw = av_rescale_q(time, stream_.time_base, AV_TIME_BASE_Q) - timeline_.origin_;
    std::int64_t nearest = std::llabs(raw - timeline_.latest_);
    std::int64_t sum = 0;
    for (std::size_t index = 0; index < timeline_.jumps_.size(); ++index) {
        sum += timeline_.jumps_[index].size;
        if (const std::int64_t distance = std::llabs(raw + sum - timeline_.latest_); distance < nearest) {
            nearest = distance;
            jumpsFollowed_ = index + 1;
            jumped_ = sum;
        }
    }
}

void TrackClock::followJump(std::int64_t time, std::int64_t expected) {
    const std::int64_t ahead = av_rescale_q(time - expected, stream_.time_base, AV_TIME_BASE_Q);
    const bool isJump = ahead < -leastJumpBack || (timeline_.clocksAreReset_ && ahead > mostGap);
    if (!isJump || stream_.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE) {
        return;
    }
    std::int64_t size = -ahead;
    if (jumpsFollowed_ < timeline_.jumps_.size()) {
        const std::int64_t others = timeline_.jumps_[jumpsFollowed_].size;
        if (std::llabs(others - size) < sameJump) {
            size = others;
        }
    } else {
        timeline_.jumps_.push_back({size});
    }
    ++jumpsFollowed_;
    jumped_ += size;
}

}  // namespace worker
