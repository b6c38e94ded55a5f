#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace worker {

/// True where the packet's own header says that it is whole, which AAC with transport headers and AC-3 do. False where
/// it is not, or the codec has no such header.
bool isWholeFrame(const AVCodecParameters& stream, const AVPacket& packet);

/// True where it says that the packet lacks bytes.
bool isCutFrame(const AVCodecParameters& stream, const AVPacket& packet);

/// True for samples of one fixed size, of which the packet is left with the whole ones, and no mark of damage.
bool keepWholeSamples(const AVCodecParameters& stream, AVPacket& packet);

/// How many bytes follow the frame that the packet is by its header, if they are all zero; else 0.
int zerosAfterFrame(const AVCodecParameters& stream, const AVPacket& packet);

}  // namespace worker
