#include "recordkeeping/ProgressWatch.h"

#include "platform/DispatchQueue.h"
#include "platform/PathOperations.h"
#include "recordkeeping/PendingRecordings.h"

#include <algorithm>
#include <utility>

namespace recordkeeping {

std::vector<ShownRecording> shownRecordings(const WorkProgress& progress) {
    std::vector<ShownRecording> shown;
    if (progress.recording.empty()) {
        return shown;
    }
    const auto nameOf = [](const std::string& path) { return std::string(platform::lastPathComponent(path)); };
    shown.push_back({progress.recording, nameOf(progress.recording) + ": " + std::to_string(progress.percent) + "%"});
    for (const auto& recording : progress.waiting) {
        shown.push_back({recording, nameOf(recording)});
    }
    return shown;
}

std::string describedProgress(const WorkProgress& progress) {
    std::string text;
    for (const auto& recording : shownRecordings(progress)) {
        text += (text.empty() ? "" : "\n") + recording.text;
    }
    return text;
}

ProgressWatch::ProgressWatch(platform::DispatchQueue& mainQueue, const PendingRecordings& pending,
                             std::function<void(const WorkProgress&)> changed)
    : mainQueue_(mainQueue), pending_(pending), changed_(std::move(changed)) {}

void ProgressWatch::noteStarting(const std::string& recording) {
    {
        const std::lock_guard lock(mutex_);
        now_.recording = recording;
        now_.percent = 0;
    }
    look();
}

void ProgressWatch::noteProgress(double percent) {
    const int whole = static_cast<int>(std::clamp(percent, 0.0, 100.0));
    {
        const std::lock_guard lock(mutex_);
        if (now_.recording.empty() || whole == now_.percent) {
            return;
        }
        now_.percent = whole;
    }
    look();
}

void ProgressWatch::noteEnded() {
    {
        const std::lock_guard lock(mutex_);
        now_ = {};
    }
    look();
}

void ProgressWatch::look() {
    // A quick conversion may get far before the main queue runs: only the latest state is reported, once.
    if (!isReportDue_.exchange(true)) {
        mainQueue_.async([this] { report(); });
    }
}

void ProgressWatch::report() {
    isReportDue_ = false;
    WorkProgress progress;
    {
        const std::lock_guard lock(mutex_);
        progress = now_;
    }
    if (!progress.recording.empty()) {
        progress.waiting = pending_.waiting();
    }
    if (progress != reported_) {
        reported_ = progress;
        changed_(progress);
    }
}

}  // namespace recordkeeping
