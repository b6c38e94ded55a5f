#include "mediaconverter/worker/times/FrameDuration.h"

#include <algorithm>

namespace worker {

std::int64_t usualFrameDuration(const AVStream& stream) {
    const AVCodecParameters& parameters = *stream.codecpar;
    const AVRational rate = stream.avg_frame_rate.num > 0 ? stream.avg_frame_rate : stream.r_frame_rate;
    AVRational duration = {1, 25};
    if (parameters.codec_type == AVMEDIA_TYPE_AUDIO && parameters.frame_size > 0 && parameters.sample_rate > 0) {
        duration = {parameters.frame_size, parameters.sample_rate};
    } else if (rate.num > 0 && rate.den > 0) {
        duration = av_inv_q(rate);
    }
    return std::max<std::int64_t>(1, av_rescale_q(1, duration, stream.time_base));
}

}  // namespace worker
