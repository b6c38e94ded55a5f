#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace platform {
class DispatchQueue;
}

namespace recordkeeping {

class PendingRecordings;

/// The conversions as a user may be shown them.
struct WorkProgress {
    std::string recording;             ///< path of the recording that is being converted; empty while none is
    int percent = 0;                   ///< 0 to 100, of that recording
    std::vector<std::string> waiting;  ///< paths of the recordings that are to be converted after it

    bool operator==(const WorkProgress&) const = default;
};

/// File names, one per line, the first with its percentage; empty where nothing is converted.
std::string describedProgress(const WorkProgress& progress);

/// Reports the progress when it has changed by a whole percent or by a recording, and only then: nothing is polled.
class ProgressWatch final {
public:
    /// `changed` runs on `mainQueue`. Queue and recordings outlive this object, and it every task on the queue.
    ProgressWatch(platform::DispatchQueue& mainQueue, const PendingRecordings& pending,
                  std::function<void(const WorkProgress&)> changed);

    /// Any thread.
    void noteStarting(const std::string& recording);
    void noteProgress(double percent);
    void noteEnded();

    /// What waits may have changed. Any thread.
    void look();

private:
    void report();

    platform::DispatchQueue& mainQueue_;
    const PendingRecordings& pending_;
    const std::function<void(const WorkProgress&)> changed_;
    std::mutex mutex_;
    WorkProgress now_;
    std::atomic<bool> isReportDue_ = false;
    WorkProgress reported_;  ///< main queue only
};

}  // namespace recordkeeping
