#pragma once

#include "tools/convert-recording/Outcome.h"

#include <functional>
#include <string>

/// Converts one leftover recording to an MP4 beside it. One thread at a time.
class LeftoverConversion {
public:
    /// Told of the progress in percent, on whatever thread the media converter reports from.
    using Progress = std::function<void(float)>;

    struct Options {
        bool keep = false;   ///< leave the recording where it is after it has been converted
        bool force = false;  ///< convert even what a process is still writing
    };

    LeftoverConversion(Options options, Progress progress) : options_(options), progress_(std::move(progress)) {}

    /// Returns when the media converter has reported the end. The MP4's name is chosen as the application chooses it;
    /// the recording is removed only after the MP4 is whole.
    Outcome convert(const std::string& path) const;

private:
    Options options_;
    Progress progress_;
};
