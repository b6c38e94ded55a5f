#pragma once

#include "mediaconverter/worker/AvPointers.h"

extern "C" {
#include <libavutil/audio_fifo.h>
}

#include <cstdint>
#include <memory>

namespace worker {

/// Cuts audio into frames of the length that an encoder takes, whatever the lengths it comes in. A pause of up to a
/// minute becomes silence; a longer one stays a step in the times, with a frame of silence every half hour, since an
/// MP4 can't count longer steps at every rate. Throws bad_alloc.
class AudioFramer {
public:
    /// The longest pause that becomes silence, in seconds. Silence costs the encoder time, hours of it too much.
    static constexpr std::int64_t longestSilence = 60;

    /// For an encoder that is open. Frames come and go with times in its time base, one sample each.
    explicit AudioFramer(const AVCodecContext& encoder);

    /// The next audio, in the encoder's form. Its times may be rounded, or late by a little: audio that belongs before
    /// the end of what has come follows it, and gaps of up to 0.1 s are closed. Between parts of different forms
    /// (`isSplice`) smaller gaps are filled as well, and what overlaps by up to 0.1 s, as codecs fill up their frames,
    /// is left out.
    void push(AVFrame& frame, bool isSplice);

    /// The next frame for the encoder; the rest, however short, where `all` is wanted. None where there is none.
    FramePointer pop(bool all);

private:
    struct FifoDeleter {
        void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
    };

    std::int64_t waiting() const { return av_audio_fifo_size(fifo_.get()); }
    void write(AVFrame& frame, int from);
    void pause(AVFrame& next);
    void endPause();
    void pad(std::int64_t samples);
    FramePointer newAudio(int samples) const;
    FramePointer take(int samples);

    const AVCodecContext& encoder_;
    const std::unique_ptr<AVAudioFifo, FifoDeleter> fifo_;
    FramePointer afterPause_;              ///< waits until what came before the pause has been popped
    std::int64_t start_ = AV_NOPTS_VALUE;  ///< of what is in the queue
    std::int64_t overlap_ = 0;             ///< samples still to leave out
};

}  // namespace worker
