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

/// The progress of the conversions, for display to the user.
struct WorkProgress {
    std::string recording;             ///< path of the recording being converted; empty if there is none
    int percent = 0;                   ///< 0 to 100, of that recording
    std::vector<std::string> waiting;  ///< paths of the recordings that wait to be converted

    bool operator==(const WorkProgress&) const = default;
};

/// One recording, as it is shown to the user.
struct ShownRecording {
    std::string path;
    std::string text;  ///< the file's name, with the percentage if it is being converted
};

/// The recording being converted, then those that wait; empty if nothing is being converted.
std::vector<ShownRecording> shownRecordings(const WorkProgress& progress);

/// The texts of `shownRecordings`, one per line.
std::string describedProgress(const WorkProgress& progress);

/// Reports the progress only when it has changed by a whole percent or by a recording; nothing is polled.
class ProgressWatch final {
public:
    /// `changed` runs on `mainQueue`. Queue and recordings outlive this object, which outlives every task on the queue.
    ProgressWatch(platform::DispatchQueue& mainQueue, const PendingRecordings& pending,
                  std::function<void(const WorkProgress&)> changed);

    /// Any thread.
    void noteStarting(const std::string& recording);
    void noteProgress(double percent);
    void noteEnded();

    /// The waiting recordings may have changed. Any thread.
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
