#pragma once

#include "mediaconverter/ConversionError.h"

#include <string>
#include <utility>

namespace worker {

using mediaconverter::ConversionError;

/// Thrown to end the conversion; carries the report for the library.
struct Failure {
    ConversionError error;
    std::string detail;

    explicit Failure(ConversionError what, std::string more = {}) : error(what), detail(std::move(more)) {}

    /// With the media library's message for its error number as the detail. Recognises a lack of memory.
    static Failure ofLibrary(ConversionError error, int number);
};

/// True if the media library's error number means a lack of memory, and memory really is short: the library also
/// returns it for a damaged length.
bool isOutOfMemory(int number);

/// Thrown if one track of the MP4 does not work, so that it can be tried in another way.
struct TrackFailure {
    int track;  ///< index in the MP4
    Failure why;
};

}  // namespace worker
