#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace worker {

/// Whether the packet's own header shows that it is complete, as AAC with transport headers and AC-3 do. False if it is
/// not, or the codec has no such header.
bool isWholeFrame(const AVCodecParameters& stream, const AVPacket& packet);

/// Whether its header shows that the packet lacks bytes.
bool isCutFrame(const AVCodecParameters& stream, const AVPacket& packet);

/// True for samples of one fixed size; the packet is reduced to the complete ones, and its damage mark is removed.
bool keepWholeSamples(const AVCodecParameters& stream, AVPacket& packet);

/// Number of bytes after the frame that, by its header, the packet holds, if they are all zero; else 0.
int zerosAfterFrame(const AVCodecParameters& stream, const AVPacket& packet);

}  // namespace worker
