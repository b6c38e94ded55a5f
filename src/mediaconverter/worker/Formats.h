#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

/// What is known of a recording's format by the library's name for it.
namespace worker::formats {

/// One of the formats that recordings may have; each is one local file.
bool isAllowed(const AVInputFormat& format);

/// A format that names other files.
bool isRefused(const AVInputFormat& format);

/// MP4, MOV and their kin.
bool isMov(const AVInputFormat& format);

bool isFlv(const AVInputFormat& format);

/// False for audio that stands alone in its file: its times follow from the samples.
bool hasTimes(const AVInputFormat& format);

/// True where every packet comes with its presentation time.
bool givesPresentationTimes(const AVInputFormat& format);

/// True for formats that have one place per picture and fill it with the picture that is decoded there; the first place
/// is that of the first picture shown.
bool placesPicturesInOrder(const AVInputFormat& format);

}  // namespace worker::formats
