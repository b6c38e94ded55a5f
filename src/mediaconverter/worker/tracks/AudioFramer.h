#pragma once

#include "mediaconverter/worker/AvPointers.h"

extern "C" {
#include <libavutil/audio_fifo.h>
}

#include <cstdint>
#include <memory>

namespace worker {

/// Cuts audio into frames of the length that an encoder takes, whatever the lengths of the input. A pause of up to a
/// minute becomes silence; a longer one stays a gap in the times, with a frame of silence every half hour, because an
/// MP4 cannot store longer gaps at every rate. Throws bad_alloc.
class AudioFramer {
public:
    /// The longest pause that becomes silence, in seconds. The encoder needs time for silence; hours of it would take
    /// too long.
    static constexpr std::int64_t longestSilence = 60;

    /// For an encoder that is open. The times of all frames are in its time base, one unit per sample.
    explicit AudioFramer(const AVCodecContext& encoder);

    /// The next audio, in the encoder's form. Its times may be rounded, or slightly late: audio that starts before the
    /// end of the earlier audio is appended to it, and gaps of up to 0.1 s are closed. Between parts of different forms
    /// (`isSplice`) smaller gaps are filled too, and overlaps of up to 0.1 s, which arise because codecs fill up their
    /// frames, are dropped.
    void push(AVFrame& frame, bool isSplice);

    /// The next frame for the encoder; with `all`, also the remaining samples, however few. Null if there is none.
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
    FramePointer popFrame(int samples);

    const AVCodecContext& encoder_;
    const std::unique_ptr<AVAudioFifo, FifoDeleter> fifo_;
    FramePointer afterPause_;              ///< waits until everything before the pause has been popped
    std::int64_t start_ = AV_NOPTS_VALUE;  ///< of the first sample in the queue
    std::int64_t overlap_ = 0;             ///< samples still to be dropped
};

}  // namespace worker
