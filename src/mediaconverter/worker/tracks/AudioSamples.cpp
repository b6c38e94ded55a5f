#include "mediaconverter/worker/tracks/AudioSamples.h"

extern "C" {
#include <libavutil/samplefmt.h>
}

#include <cmath>
#include <cstddef>
#include <new>

namespace worker {

namespace {

/// 48 dB above full scale; anything beyond is damage, not loud audio.
constexpr double mostAmplitude = 256;

/// 300 dB below full scale. Even smaller numbers slow the processor down.
constexpr double leastAmplitude = 1e-15;

template<typename Sample>
bool isUsual(Sample sample) {
    const Sample size = std::fabs(sample);
    return size <= static_cast<Sample>(mostAmplitude) && (size >= static_cast<Sample>(leastAmplitude) || size == 0);
}

template<typename Sample>
std::int64_t unusualIn(const Sample* samples, std::size_t count) {
    std::int64_t unusual = 0;
    for (std::size_t index = 0; index < count; ++index) {
        unusual += isUsual(samples[index]) ? 0 : 1;
    }
    return unusual;
}

template<typename Sample>
std::int64_t silence(Sample* samples, std::size_t count) {
    std::int64_t impossible = 0;
    for (std::size_t index = 0; index < count; ++index) {
        if (!isUsual(samples[index])) {
            // Not a number compares as false.
            impossible += std::fabs(samples[index]) < static_cast<Sample>(leastAmplitude) ? 0 : 1;
            samples[index] = 0;
        }
    }
    return impossible;
}

template<typename Sample>
std::int64_t silencePlanes(AVFrame& frame) {
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const bool isPlanar = av_sample_fmt_is_planar(format) != 0;
    const int planes = isPlanar ? frame.ch_layout.nb_channels : 1;
    const auto count = static_cast<std::size_t>(frame.nb_samples) *
                       static_cast<std::size_t>(isPlanar ? 1 : frame.ch_layout.nb_channels);
    std::int64_t impossible = 0;
    for (int plane = 0; plane < planes; ++plane) {
        if (unusualIn(reinterpret_cast<const Sample*>(frame.extended_data[plane]), count) == 0) {
            continue;
        }
        if (av_frame_make_writable(&frame) < 0) {
            throw std::bad_alloc();
        }
        impossible += silence(reinterpret_cast<Sample*>(frame.extended_data[plane]), count);
    }
    return impossible;
}

}  // namespace

std::int64_t silenceImpossibleSamples(AVFrame& frame) {
    switch (av_get_packed_sample_fmt(static_cast<AVSampleFormat>(frame.format))) {
    case AV_SAMPLE_FMT_FLT:
        return silencePlanes<float>(frame);
    case AV_SAMPLE_FMT_DBL:
        return silencePlanes<double>(frame);
    default:
        return 0;
    }
}

}  // namespace worker
