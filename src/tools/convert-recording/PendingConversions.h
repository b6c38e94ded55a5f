#pragma once

#include "tools/convert-recording/LeftoverConversion.h"

#include <functional>

/// Converts the recordings that record converters have left in the state folder when they ended, including entries that
/// have ended one too often. Takes charge of each entry meanwhile, so that a converter that starts does not convert it
/// too.
class PendingConversions {
public:
    using Report = std::function<void(const Outcome&)>;

    PendingConversions(LeftoverConversion::Options options, LeftoverConversion::Progress progress)
        : options_(options), progress_(std::move(progress)) {}

    /// Reports each entry once, oldest first: converted, failed, or still being written. Entries of a running record
    /// converter are left to it and not reported.
    void convertAll(const Report& report) const;

private:
    LeftoverConversion::Options options_;
    LeftoverConversion::Progress progress_;
};
