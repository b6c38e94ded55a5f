#pragma once

#include "mediaconverter/worker/structure/MatroskaPackets.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace worker {

/// Predicts what the media library's demuxer says of the packets of one stream beyond what the container states: times
/// of decoding, durations, key frames. The library's own packets show whether the prediction is right.
class LibraryFields {
public:
    /// Whether packets of such a stream can be predicted.
    static bool arePredictable(const AVStream& stream);

    /// `stream` must outlive it.
    explicit LibraryFields(const AVStream& stream);

    /// Compares the library's packet with the prediction for `own`, which is the same packet. Learns from the first
    /// ones.
    void compare(const AVPacket& packet, const StructuredPacket& own, std::span<const std::uint8_t> payload);

    /// Whether the last packets compared were all as predicted.
    bool isReliable() const;

    /// Fills the blank packet with the prediction for the next packet, `own`. The payload stays where it is.
    void fill(AVPacket& packet, const StructuredPacket& own, std::span<const std::uint8_t> payload);

private:
    std::int64_t decodingTime(std::int64_t time);
    std::int64_t durationOf(const StructuredPacket& own, std::span<const std::uint8_t> payload) const;
    void addDiscarded(AVPacket& packet, std::int64_t nanoseconds) const;

    /// Decoders hold back no more (ITU-T H.264, A.3.1).
    static constexpr std::size_t mostDelay = 16;

    const AVStream& stream_;
    std::size_t delay_;
    std::array<std::int64_t, mostDelay + 1> latest_{};  ///< the latest times of presentation, sorted
    std::optional<std::int64_t> usualDuration_;         ///< of packets for which the container states none
    int asPredicted_ = 0;                               ///< number of packets in a row
};

}  // namespace worker
