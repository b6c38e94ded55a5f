#pragma once

/// The tool's exit statuses, listed in its help and manual.
enum class ExitStatus {
    done = 0,
    failed = 1,              ///< the recording could not be made, or the converter could not be started
    badUsage = 2,            ///< the command line is wrong
    notAcknowledged = 3,     ///< no acknowledgement in time: no converter runs, or it is too busy
    noSessionBus = 4,        ///< there is no bus to post to
    tooFewNotifications = 5  ///< a watch ran out of time before its count was reached
};
