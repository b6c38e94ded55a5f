#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <string>

namespace worker {

/// How one stream of the recording is treated.
enum class Treatment {
    copy,       ///< MP4 can hold it
    transcode,  ///< MP4 cannot hold it; it is re-encoded
    leave,      ///< dropped data that an MP4 has no place for; named in the log
};

/// The treatment of a stream. Throws Failure if it is audio or video that cannot be decoded here, or is encrypted.
Treatment treatmentOf(const AVStream& stream);

/// Whether the muxer can describe the stream: broadcast streams may announce ones that have not appeared yet.
bool isKnown(const AVStream& stream);

/// Whether the stream is an image for the file as a whole, not a track.
inline bool isAttachedPicture(const AVStream& stream) {
    return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

/// True for audio and video, false for accompanying streams.
bool isContent(const AVStream& stream);

/// The stream in words for the log: "audio stream 2 (vorbis)".
std::string describe(const AVStream& stream);

}  // namespace worker
