#pragma once

#include "mediaconverter/ConversionError.h"

#include <string>
#include <utility>

namespace worker {

using mediaconverter::ConversionError;

/// Thrown to end the conversion: what the library is told.
struct Failure {
    ConversionError error;
    std::string detail;

    explicit Failure(ConversionError what, std::string more = {}) : error(what), detail(std::move(more)) {}

    /// With the media library's own words for its error number as the detail. Running out of memory is told apart.
    static Failure ofLibrary(ConversionError error, int number);
};

/// True where the media library's error number says that memory is short, and memory is: the library says so of a
/// damaged length as well.
bool isOutOfMemory(int number);

/// Thrown where one track of the MP4 is what does not work, so that it may be tried in another way.
struct TrackFailure {
    int track;  ///< its index in the MP4
    Failure why;
};

}  // namespace worker
