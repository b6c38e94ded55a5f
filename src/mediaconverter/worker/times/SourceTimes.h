#pragma once

#include "mediaconverter/worker/proof/ShownTimes.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <optional>

namespace worker {

/// Thrown when a track turns out to start before the time that was used as the start of the recording.
struct EarlierStart {
    std::int64_t time;  ///< in microseconds, in the recording's own time
};

/// When the packets of one stream are shown according to the recording: the reference for the finished MP4.
class SourceTimes {
public:
    explicit SourceTimes(const AVStream& stream) : stream_(stream) {}

    /// Adds one packet, with times in the stream's time base. Packets and samples that the recording marks to be
    /// skipped are not counted; a packet without a time counts as shown when it is decoded.
    void add(const AVPacket& packet);

    /// Adds one decoded frame of video of unknown duration; `time` is in the stream's time base.
    void addPicture(std::int64_t time);

    /// Adds one decoded frame of audio, which lasts as long as its samples; `time` is in the stream's time base, or
    /// AV_NOPTS_VALUE if it follows the last one.
    void addDecodedAudio(std::int64_t time, int samples, int rate);

    /// In microseconds; INT64_MAX if nothing is shown.
    std::int64_t earliest() const { return earliest_; }

    const ShownTimes& shown() const { return shown_; }

    /// The decoded range: a decoder drops the codec's delay, which a container need not state. In microseconds; none if
    /// no audio was decoded.
    struct Span {
        std::int64_t start;
        std::int64_t end;
    };
    const std::optional<Span>& decodedAudio() const { return decodedAudio_; }

    /// The longest packet so far, in microseconds; 0 if the recording states no durations.
    std::int64_t longest() const { return longest_; }

private:
    std::int64_t durationOf(const AVPacket& packet) const;
    void skip(const AVPacket& packet, std::int64_t& start, std::int64_t& duration);

    const AVStream& stream_;
    ShownTimes shown_;
    std::int64_t earliest_ = INT64_MAX;
    std::int64_t longest_ = 0;
    std::optional<Span> decodedAudio_;
    std::int64_t skipped_ = INT64_MIN;  ///< nothing is heard before this time; microseconds
};

}  // namespace worker
