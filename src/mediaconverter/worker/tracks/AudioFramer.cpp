#include "mediaconverter/worker/tracks/AudioFramer.h"

extern "C" {
#include <libavutil/samplefmt.h>
}

#include <algorithm>
#include <cstddef>
#include <vector>

namespace worker {

namespace {

/// Samples per frame if the encoder accepts any number.
constexpr int usualFrame = 4096;

/// In seconds. A step in time has 31 bits: 54 minutes at the highest rate, 12.4 hours at 48 kHz.
constexpr std::int64_t longestStep = 1800;

/// A pause shorter than this fraction of a second is a rounding error.
constexpr int shareOfRounding = 10;

/// The same between parts of different forms.
constexpr int shareOfSplice = 100;

int frameLength(const AVCodecContext& encoder) {
    return encoder.frame_size > 0 ? encoder.frame_size : usualFrame;
}

}  // namespace

AudioFramer::AudioFramer(const AVCodecContext& encoder)
    : encoder_(encoder),
      fifo_(present(av_audio_fifo_alloc(encoder.sample_fmt, encoder.ch_layout.nb_channels, frameLength(encoder)))) {}

void AudioFramer::push(AVFrame& frame, bool isSplice) {
    if (start_ == AV_NOPTS_VALUE) {
        start_ = frame.pts == AV_NOPTS_VALUE ? 0 : frame.pts;
    }
    const std::int64_t ahead = frame.pts == AV_NOPTS_VALUE ? 0 : frame.pts - start_ - waiting();
    if (ahead > encoder_.sample_rate * longestSilence) {
        pause(frame);
        return;
    }
    if (ahead > encoder_.sample_rate / (isSplice ? shareOfSplice : shareOfRounding)) {
        pad(ahead);
    }
    if (isSplice && -ahead > encoder_.sample_rate / shareOfSplice && -ahead <= encoder_.sample_rate / shareOfRounding) {
        overlap_ = -ahead;
    }
    const auto left = static_cast<int>(std::min<std::int64_t>(overlap_, frame.nb_samples));
    overlap_ -= left;
    write(frame, left);
}

void AudioFramer::write(AVFrame& frame, int from) {
    const AVSampleFormat format = encoder_.sample_fmt;
    const bool isPlanar = av_sample_fmt_is_planar(format) != 0;
    const int channels = encoder_.ch_layout.nb_channels;
    std::vector<void*> planes;
    for (int plane = 0; plane < (isPlanar ? channels : 1); ++plane) {
        planes.push_back(frame.extended_data[plane] +
                         std::ptrdiff_t{from} * av_get_bytes_per_sample(format) * (isPlanar ? 1 : channels));
    }
    const int samples = frame.nb_samples - from;
    if (av_audio_fifo_write(fifo_.get(), planes.data(), samples) < samples) {
        throw std::bad_alloc();
    }
}

void AudioFramer::pause(AVFrame& next) {
    const int length = frameLength(encoder_);
    if (const auto over = static_cast<int>(waiting() % length); over > 0) {
        pad(length - over);
    }
    afterPause_.reset(present(av_frame_clone(&next)));
}

void AudioFramer::pad(std::int64_t samples) {
    while (samples > 0) {
        const int count = static_cast<int>(std::min<std::int64_t>(samples, usualFrame));
        const FramePointer silence = newAudio(count);
        av_samples_set_silence(silence->extended_data, 0, count, encoder_.ch_layout.nb_channels, encoder_.sample_fmt);
        if (av_audio_fifo_write(fifo_.get(), reinterpret_cast<void**>(silence->extended_data), count) < count) {
            throw std::bad_alloc();
        }
        samples -= count;
    }
}

FramePointer AudioFramer::pop(bool all) {
    if (waiting() == 0 && afterPause_) {
        endPause();
    }
    if (waiting() >= frameLength(encoder_) || (all && waiting() > 0)) {
        return popFrame(static_cast<int>(std::min<std::int64_t>(waiting(), frameLength(encoder_))));
    }
    return nullptr;
}

void AudioFramer::endPause() {
    const std::int64_t step = encoder_.sample_rate * longestStep;
    if (afterPause_->pts - start_ > step) {
        start_ += step;
        pad(frameLength(encoder_));
        return;
    }
    const FramePointer next = std::move(afterPause_);
    start_ = AV_NOPTS_VALUE;
    push(*next, false);
}

FramePointer AudioFramer::popFrame(int samples) {
    FramePointer frame = newAudio(samples);
    av_audio_fifo_read(fifo_.get(), reinterpret_cast<void**>(frame->extended_data), samples);
    frame->pts = start_;
    start_ += samples;
    return frame;
}

FramePointer AudioFramer::newAudio(int samples) const {
    FramePointer frame = newFrame();
    frame->nb_samples = samples;
    frame->format = encoder_.sample_fmt;
    frame->sample_rate = encoder_.sample_rate;
    if (av_channel_layout_copy(&frame->ch_layout, &encoder_.ch_layout) < 0 || av_frame_get_buffer(frame.get(), 0) < 0) {
        throw std::bad_alloc();
    }
    return frame;
}

}  // namespace worker
