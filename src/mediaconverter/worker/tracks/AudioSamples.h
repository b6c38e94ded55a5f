#pragma once

extern "C" {
#include <libavutil/frame.h>
}

#include <cstdint>

namespace worker {

/// For floating-point formats, replaces with silence every sample of the frame that is not a number or is louder than
/// any recorder writes, because encoders refuse such samples. Inaudibly small numbers become 0. Returns the number of
/// samples of the first kind. Throws bad_alloc.
std::int64_t silenceImpossibleSamples(AVFrame& frame);

}  // namespace worker
