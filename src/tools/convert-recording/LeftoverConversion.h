#pragma once

#include "tools/convert-recording/Outcome.h"

#include <functional>
#include <string>

/// Converts one leftover recording to an MP4 beside it. One thread at a time.
class LeftoverConversion {
public:
    /// Called with the progress in percent, on whatever thread the media converter reports from.
    using Progress = std::function<void(float)>;

    struct Options {
        bool keep = false;   ///< leave the recording where it is after it has been converted
        bool force = false;  ///< convert even a file that a process is still writing
    };

    LeftoverConversion(Options options, Progress progress) : options_(options), progress_(std::move(progress)) {}

    /// Returns when the media converter has reported the end. Chooses the MP4's name as the application does; removes
    /// the recording only after the MP4 is complete.
    Outcome convert(const std::string& path) const;

private:
    Options options_;
    Progress progress_;
};
