#pragma once

extern "C" {
#include <libavutil/frame.h>
}

#include <cstdint>

namespace worker {

/// Makes silence of every sample of the frame that is no number or louder than any recorder writes, where its format is
/// one of floating point; encoders refuse such. Numbers too small to be heard become 0. Returns how many samples of the
/// first kind there were. Throws bad_alloc.
std::int64_t silenceImpossibleSamples(AVFrame& frame);

}  // namespace worker
