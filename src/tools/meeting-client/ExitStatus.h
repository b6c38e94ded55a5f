#pragma once

/// What the tool's exit status says; listed in its help and manual.
enum class ExitStatus {
    done = 0,
    failed = 1,              ///< the recording could not be made, or the converter not be started
    badUsage = 2,            ///< the command line is wrong
    notAcknowledged = 3,     ///< no answer came in time; a converter may not run, or have other work for too long
    noSessionBus = 4,        ///< there is no bus to post on
    tooFewNotifications = 5  ///< a watch ran out of time before its count was full
};
