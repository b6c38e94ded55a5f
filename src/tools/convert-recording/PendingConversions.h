#pragma once

#include "tools/convert-recording/LeftoverConversion.h"

#include <functional>

/// Converts by hand what record converters that have ended left in the state folder, entries that ended one too often
/// included. Takes charge of each meanwhile, so that no converter that starts does the same.
class PendingConversions {
public:
    using Report = std::function<void(const Outcome&)>;

    PendingConversions(LeftoverConversion::Options options, LeftoverConversion::Progress progress)
        : options_(options), progress_(std::move(progress)) {}

    /// Reports each entry once, oldest first: converted, failed, or still being written. A recording that a running
    /// record converter is in charge of is left to it and not reported.
    void convertAll(const Report& report) const;

private:
    LeftoverConversion::Options options_;
    LeftoverConversion::Progress progress_;
};
