#include "mediaconverter/worker/accounting/WholeFrame.h"

#include "mediaconverter/worker/accounting/AudioFrames.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace worker {

namespace {

std::optional<std::size_t> lengthOf(const AVCodecParameters& stream, const AVPacket& packet) {
    return audioFrameLength(stream.codec_id, {packet.data, static_cast<std::size_t>(packet.size)});
}

}  // namespace

bool isWholeFrame(const AVCodecParameters& stream, const AVPacket& packet) {
    return lengthOf(stream, packet) == static_cast<std::size_t>(packet.size);
}

bool isCutFrame(const AVCodecParameters& stream, const AVPacket& packet) {
    return lengthOf(stream, packet).value_or(0) > static_cast<std::size_t>(packet.size);
}

bool keepWholeSamples(const AVCodecParameters& stream, AVPacket& packet) {
    const int bytes = av_get_exact_bits_per_sample(stream.codec_id) / 8 * stream.ch_layout.nb_channels;
    if (bytes <= 0 || packet.size < bytes) {
        return false;
    }
    av_shrink_packet(&packet, packet.size / bytes * bytes);
    packet.flags &= ~AV_PKT_FLAG_CORRUPT;
    return true;
}

int zerosAfterFrame(const AVCodecParameters& stream, const AVPacket& packet) {
    const auto length = static_cast<int>(lengthOf(stream, packet).value_or(0));
    const bool isLonger = length > 0 && length < packet.size;
    return isLonger && std::all_of(packet.data + length, packet.data + packet.size,
                                   [](std::uint8_t byte) { return byte == 0; })
               ? packet.size - length
               : 0;
}

}  // namespace worker
