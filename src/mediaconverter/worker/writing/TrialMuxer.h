#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

namespace worker {

/// Whether the muxer accepts the track as the only one of an MP4: its header, and `first`, its first packet, if given.
/// Keeps nothing. Used to find the track that made the muxer fail.
bool isTakenByMuxer(const AVStream& track, const AVPacket* first);

}  // namespace worker
