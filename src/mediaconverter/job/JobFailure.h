#pragma once

#include "mediaconverter/ConversionError.h"

#include <string>
#include <utility>

namespace mediaconverter {

/// Thrown within a job to end it with the one error that is reported to its owner.
struct JobFailure {
    ConversionError error;
    std::string detail;  ///< for the log, may be empty

    explicit JobFailure(ConversionError what, std::string more = {}) : error(what), detail(std::move(more)) {}

    /// With the system's message for an errno value as the detail.
    static JobFailure ofSystem(ConversionError error, int number);
};

}  // namespace mediaconverter
