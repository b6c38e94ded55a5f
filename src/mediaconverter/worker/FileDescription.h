#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>

namespace worker {

// What is said of a recording as a whole, apart from its tracks.

/// How long the index of an MP4 of all its packets will be, in bytes. `size` is the recording's.
std::int64_t estimateIndex(const AVFormatContext& format, std::int64_t size);

/// Titles, dates and the like, but nothing of the recording's own container.
void copyMetadata(const AVFormatContext& source, AVFormatContext& target);

/// The chapters. `origin` is the recording's time, in microseconds, that becomes 0.
void copyChapters(const AVFormatContext& source, AVFormatContext& target, std::int64_t origin);

}  // namespace worker
