#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace worker {

/// The most bytes that audioFrameLength() reads.
inline constexpr std::size_t audioFrameHeader = 8;

/// The length, from its header, of the audio frame that starts with `bytes`: AAC with transport headers (ADTS), MPEG
/// audio of any layer, AC-3 and E-AC-3. None if there is no such header.
std::optional<std::size_t> audioFrameLength(AVCodecID codec, std::span<const std::uint8_t> bytes);

}  // namespace worker
