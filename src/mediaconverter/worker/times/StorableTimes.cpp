#include "mediaconverter/worker/times/StorableTimes.h"

#include "mediaconverter/worker/times/FrameDuration.h"

#include <algorithm>

namespace worker {

void StorableTimes::correct(AVPacket& packet, bool throwsAtPauses) {
    packet.duration = std::max<std::int64_t>(packet.duration, 0);
    if (packet.dts == AV_NOPTS_VALUE) {
        packet.dts = packet.pts;
    }
    if (packet.dts == AV_NOPTS_VALUE) {
        packet.dts = last_ == AV_NOPTS_VALUE ? 0 : last_ + 1;
    }
    if (last_ != AV_NOPTS_VALUE) {
        packet.dts = std::max(packet.dts, last_ + 1);
    }
    if (throwsAtPauses && last_ != AV_NOPTS_VALUE && packet.dts - last_ > INT32_MAX) {
        throw LongPause{};
    }
    if (packet.pts == AV_NOPTS_VALUE || packet.pts < packet.dts) {
        packet.pts = packet.dts;
    }
    // Players skip a last frame without a duration.
    if (packet.duration == 0 && track_->codecpar->codec_type != AVMEDIA_TYPE_SUBTITLE) {
        packet.duration = last_ != AV_NOPTS_VALUE ? packet.dts - last_ : usualFrameDuration(*track_);
    }
    last_ = packet.dts;
}

}  // namespace worker
