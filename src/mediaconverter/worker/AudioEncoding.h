#pragma once

#include "mediaconverter/worker/TrackForm.h"

extern "C" {
#include <libavutil/samplefmt.h>
}

namespace worker {

/// What audio of some form is encoded with, so that every channel keeps its meaning and no frequency is lost.
struct AudioEncoding {
    enum class Codec {
        aac,
        flac,  ///< what AAC has no rate or no exact layout for
        opus,  ///< more than eight channels, which FLAC does not have; numbered, without places
    };

    Codec codec;
    const char* encoder;  ///< the media library's name of it
    int rate;
    AVSampleFormat format;
};

/// `decoded` is the sample format of the source.
AudioEncoding encodingFor(const TrackForm& form, AVSampleFormat decoded);

}  // namespace worker
