#pragma once

extern "C" {
#include <libavutil/avutil.h>
}

namespace worker {

/// The time base of the timeline. The library's own name for it is a compound literal, which C++ does not have.
inline constexpr AVRational microsecondBase = {1, AV_TIME_BASE};

}  // namespace worker
