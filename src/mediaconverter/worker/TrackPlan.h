#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <string>

namespace worker {

/// What becomes of one stream of the recording.
enum class Treatment {
    copy,       ///< MP4 holds it as it is
    transcode,  ///< MP4 does not; it is re-encoded
    leave,      ///< data that an MP4 has no place for; named in the log
};

/// The treatment of a stream. Throws Failure where it is sound or picture that nobody here can read, or encrypted.
Treatment treatmentOf(const AVStream& stream);

/// True where the muxer can describe the stream: broadcast streams may name ones that have not been seen yet.
bool isKnown(const AVStream& stream);

/// True for audio and video, and not for what accompanies them.
bool isContent(const AVStream& stream);

/// The stream in words for the log: "audio stream 2 (vorbis)".
std::string describe(const AVStream& stream);

}  // namespace worker
