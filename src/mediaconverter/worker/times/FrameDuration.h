#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>

namespace worker {

/// The duration of a frame whose packet states none, in the stream's time base, at least 1: the audio codec's frame, or
/// what the frame rate gives; a 25th of a second if neither is known.
std::int64_t usualFrameDuration(const AVStream& stream);

}  // namespace worker
