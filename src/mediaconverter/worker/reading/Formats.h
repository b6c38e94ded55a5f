#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

/// Properties of a recording's format, by the library's name for it.
namespace worker::formats {

/// Whether recordings may have this format; each of these is one local file.
bool isAllowed(const AVInputFormat& format);

/// Whether the format refers to other files.
bool isRefused(const AVInputFormat& format);

/// MP4, MOV and related formats.
bool isMov(const AVInputFormat& format);

bool isFlv(const AVInputFormat& format);

/// False for audio without a container: its times follow from the samples.
bool hasTimes(const AVInputFormat& format);

/// Whether every packet comes with its presentation time.
bool givesPresentationTimes(const AVInputFormat& format);

/// True for formats with one slot per frame, filled with the frame that is decoded there; the first slot is the time of
/// the first frame shown.
bool placesPicturesInOrder(const AVInputFormat& format);

}  // namespace worker::formats
