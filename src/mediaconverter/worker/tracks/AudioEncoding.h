#pragma once

#include "mediaconverter/worker/tracks/TrackForm.h"

extern "C" {
#include <libavutil/samplefmt.h>
}

namespace worker {

/// The encoding for audio of a given form, chosen so that every channel keeps its meaning and no frequency is lost.
struct AudioEncoding {
    enum class Codec {
        aac,
        flac,  ///< for rates and layouts that AAC lacks
        opus,  ///< for more than eight channels, which FLAC lacks; the channels are numbered, without positions
    };

    Codec codec;
    const char* encoder;  ///< the media library's name for it
    int rate;
    AVSampleFormat format;
};

/// `decoded` is the sample format of the source.
AudioEncoding encodingFor(const TrackForm& form, AVSampleFormat decoded);

}  // namespace worker
