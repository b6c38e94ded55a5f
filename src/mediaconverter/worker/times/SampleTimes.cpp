#include "mediaconverter/worker/times/SampleTimes.h"

namespace worker {

bool SampleTimes::areNeeded(const AVStream& stream) {
    const AVCodecParameters& parameters = *stream.codecpar;
    return parameters.codec_type == AVMEDIA_TYPE_AUDIO && parameters.sample_rate > 0 &&
           stream.time_base.den != parameters.sample_rate;
}

void SampleTimes::place(AVPacket& packet) {
    AVCodecParameters* const parameters = source_.codecpar;
    int samples = av_get_audio_frame_duration2(parameters, packet.size);
    if (samples <= 0) {
        samples = parameters->frame_size;
    }
    if (samples <= 0) {
        av_packet_rescale_ts(&packet, source_.time_base, target_.time_base);
        return;
    }
    const AVRational sample = {1, parameters->sample_rate};
    packet.dts = av_rescale_delta(source_.time_base, packet.dts, sample, samples, &last_, target_.time_base);
    packet.pts = packet.dts;
    packet.duration = av_rescale_q(samples, sample, target_.time_base);
}

}  // namespace worker
