#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>

namespace worker {

// Information about a recording as a whole, apart from its tracks.

/// Estimated size, in bytes, of the index of an MP4 with all its packets. `size` is the recording's.
std::int64_t estimateIndex(const AVFormatContext& format, std::int64_t size);

/// Titles, dates and the like, but nothing about the recording's own container.
void copyMetadata(const AVFormatContext& source, AVFormatContext& target);

/// Copies the chapters. `origin` is the time in the recording, in microseconds, that becomes 0.
void copyChapters(const AVFormatContext& source, AVFormatContext& target, std::int64_t origin);

}  // namespace worker
