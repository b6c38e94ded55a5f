#pragma once

#include "mediaconverter/worker/ShownTimes.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <optional>

namespace worker {

/// Thrown when a track turns out to begin before the time that was taken for the recording's beginning.
struct EarlierStart {
    std::int64_t time;  ///< in microseconds, in the recording's own time
};

/// What a recording says about when the packets of one stream are shown: the witness that the finished MP4 is compared
/// with.
class SourceTimes {
public:
    explicit SourceTimes(const AVStream& stream) : stream_(stream) {}

    /// One packet, its times in the stream's time base. Packets and samples that the recording wants skipped do not
    /// count; one without a time counts as shown when it is decoded.
    void add(const AVPacket& packet);

    /// One decoded picture of unknown duration; `time` is in the stream's time base.
    void addPicture(std::int64_t time);

    /// One decoded frame of audio, as long as its samples; `time` is in the stream's time base, AV_NOPTS_VALUE for one
    /// that follows the last.
    void addDecodedAudio(std::int64_t time, int samples, int rate);

    /// In microseconds; INT64_MAX where nothing is shown.
    std::int64_t earliest() const { return earliest_; }

    const ShownTimes& shown() const { return shown_; }

    /// What the decoder makes of the packets: it leaves out the codec's delay, of which a container need not tell. In
    /// microseconds; none where no audio was decoded.
    struct Span {
        std::int64_t start;
        std::int64_t end;
    };
    const std::optional<Span>& decodedAudio() const { return decodedAudio_; }

    /// The longest packet so far, in microseconds; 0 where the recording tells no lengths.
    std::int64_t longest() const { return longest_; }

private:
    std::int64_t durationOf(const AVPacket& packet) const;
    void skip(const AVPacket& packet, std::int64_t& start, std::int64_t& duration);

    const AVStream& stream_;
    ShownTimes shown_;
    std::int64_t earliest_ = INT64_MAX;
    std::int64_t longest_ = 0;
    std::optional<Span> decodedAudio_;
    std::int64_t skipped_ = INT64_MIN;  ///< before this time nothing is heard; microseconds
};

}  // namespace worker
