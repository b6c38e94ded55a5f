#include "platform/linux/PidfdProcessExitWatch.h"

#include "platform/RunLoop.h"
#include "platform/SystemLog.h"

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

// The C library's header (2.36) does not declare its functions as C.
extern "C" {
#include <sys/pidfd.h>
}

namespace platform {

PidfdProcessExitWatch::PidfdProcessExitWatch(RunLoop& runLoop) : runLoop_(runLoop) {}

void PidfdProcessExitWatch::watch(std::int32_t processId, std::function<void(std::int32_t)> exited) {
    // The kernel marks every process descriptor close-on-exec, so no child keeps one.
    const int descriptor = processId > 0 ? pidfd_open(processId, 0) : -1;
    if (descriptor < 0) {
        if (processId <= 0 || errno == ESRCH) {
            if (gone_) {
                gone_(processId);
            }
        } else {
            SystemLog::standard().write("can't watch the exit of process " + std::to_string(processId) + ": " +
                                            std::generic_category().message(errno),
                                        Severity::error);
        }
        return;
    }
    runLoop_.addOneShotReadSource(descriptor, [processId, exited = std::move(exited)] { exited(processId); });
}

}  // namespace platform
