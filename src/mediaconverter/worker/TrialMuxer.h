#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

namespace worker {

/// True where the muxer takes the track when it is the only one of an MP4: its header, and `first`, its first packet,
/// where there is one. Nothing is kept. Used to find the track that made the muxer fail.
bool isTakenByMuxer(const AVStream& track, const AVPacket* first);

}  // namespace worker
