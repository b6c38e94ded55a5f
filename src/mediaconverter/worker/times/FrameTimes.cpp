#include "mediaconverter/worker/times/FrameTimes.h"

#include <algorithm>
#include <cstdlib>

namespace worker {

namespace {

/// So many packets do not lie on a grid by chance.
constexpr int enoughInARow = 16;

/// A recorder's clock may run a little faster or slower than the rate says. If a packet is off only after so many that
/// were not, the grid follows it.
constexpr int steadyInARow = 200;

}  // namespace

void FrameTimes::place(AVPacket& packet) {
    av_packet_rescale_ts(&packet, source_.time_base, target_.time_base);
    if (packet.pts == AV_NOPTS_VALUE) {
        return;
    }
    if (frame_ == 0) {
        start(packet.pts);
    } else if (isFound_) {
        follow(packet.pts);
    } else {
        search(packet.pts);
    }
    if (isFound_) {
        packet.pts = onGrid(packet.pts);
        packet.duration = std::llabs(packet.duration - frame_) <= tick_ ? frame_ : packet.duration;
    }
    placeDecoding(packet);
}

void FrameTimes::start(std::int64_t first) {
    frame_ = std::max<std::int64_t>(1, av_rescale_q(1, av_inv_q(grid_.rate), target_.time_base));
    tick_ = std::max<std::int64_t>(1, av_rescale_q(1, source_.time_base, target_.time_base));
    origin_ = first + av_rescale_q(grid_.firstOffset.num, {1, grid_.firstOffset.den}, target_.time_base);
    isFound_ = true;
    for (int held = source_.codecpar->video_delay; held > 0; --held) {
        held_.push_back(onGrid(first) - held * frame_);
    }
}

void FrameTimes::follow(std::int64_t time) {
    const std::int64_t off = time - onGrid(time);
    if (std::llabs(off) <= tick_) {
        ++inARow_;
    } else if (std::llabs(off) <= 2 * tick_ && inARow_ >= steadyInARow) {
        origin_ += off;
        inARow_ = 0;
    } else {
        isFound_ = false;
        inARow_ = 0;
        search(time);
    }
}

void FrameTimes::search(std::int64_t time) {
    const std::int64_t off = time - onGrid(time);
    if (inARow_ == 0 || std::llabs(off) > tick_) {
        origin_ = time;
        least_ = most_ = 0;
        inARow_ = 1;
        return;
    }
    least_ = std::min(least_, off);
    most_ = std::max(most_, off);
    if (++inARow_ == enoughInARow) {
        // In the middle, so that rounding up and rounding down are equally far.
        origin_ += (least_ + most_) / 2;
        isFound_ = true;
    }
}

void FrameTimes::placeDecoding(AVPacket& packet) {
    held_.insert(std::upper_bound(held_.begin(), held_.end(), packet.pts), packet.pts);
    const std::int64_t time = held_.front();
    held_.erase(held_.begin());
    // The decoder holds back more frames than the stream says.
    const bool isLate = lastDecoding_ && time <= *lastDecoding_;
    packet.dts = isLate && packet.dts != AV_NOPTS_VALUE ? std::min(packet.dts, packet.pts) : time;
    lastDecoding_ = packet.dts;
}

std::int64_t FrameTimes::onGrid(std::int64_t time) const {
    const std::int64_t ahead = time - origin_ + frame_ / 2;
    const std::int64_t rest = (ahead % frame_ + frame_) % frame_;
    return origin_ + ahead - rest;
}

}  // namespace worker
