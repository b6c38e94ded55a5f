#include "mediaconverter/job/WorkerSupervision.h"

#include "mediaconverter/OutputLimit.h"
#include "mediaconverter/job/JobFailure.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <utility>

namespace mediaconverter {

namespace {

using enum ConversionError;

/// How long a worker may neither make progress nor compute.
constexpr std::chrono::seconds patience{30};

/// How often the worker's state is checked while it reports nothing.
constexpr int lookMilliseconds = 1000;

/// The smallest step that counts as progress; the worker reports no smaller one.
constexpr float smallestStep = 0.001F;

/// The worker's share of the progress; the rest is syncing and publishing.
constexpr float workerPercent = 97.0F;

/// Far more than an honest worker sends, and little enough for a log.
constexpr int mostNotes = 200;
constexpr int mostMessages = 100'000;

void requireBoundedOutput(const SourceFile& source, const OutputFile& output) {
    // Without asking a file server, whose silence would block this thread.
    struct statx now = {};
    constexpr int asKnown = AT_EMPTY_PATH | AT_STATX_DONT_SYNC;
    // The index is inserted in front of the data and may need the same amount of room again.
    if (::statx(output.descriptor(), "", asKnown, STATX_SIZE, &now) == 0 &&
        now.stx_size > 2 * outputLimit(source.status().st_size)) {
        throw JobFailure(fileTooLarge, "no MP4 of this recording needs " + std::to_string(now.stx_size) + " bytes");
    }
}

}  // namespace

WorkerSupervision::WorkerSupervision(JobOwner& owner, std::function<void(const std::string&)> note)
    : owner_(owner), note_(std::move(note)) {}

std::optional<std::string> WorkerSupervision::run(const SourceFile& source, const OutputFile& output) {
    WorkerProcess worker(workerProgram(), source, output.descriptor());
    lastSign_ = Clock::now();
    while (true) {
        waitForNews(worker);
        handleMessages(worker);
        const auto end = hasClosedReports_ ? worker.tryWait() : std::nullopt;
        requireBoundedOutput(source, output);
        if (end) {
            requireCleanEnd(worker, *end);
            owner_.jobProgress(workerPercent);
            return damage_;
        }
        requireSigns(worker);
    }
}

void WorkerSupervision::waitForNews(const WorkerProcess& worker) const {
    // A signal that arrives meanwhile only shortens the wait.
    pollfd waiting[2] = {{owner_.abandonDescriptor(), POLLIN, 0},
                         {hasClosedReports_ ? worker.endDescriptor() : worker.reportDescriptor(), POLLIN, 0}};
    static_cast<void>(::poll(waiting, 2, lookMilliseconds));
    if (owner_.isAbandoned()) {
        throw JobFailure(abandoned);
    }
}

void WorkerSupervision::handleMessages(WorkerProcess& worker) {
    // At most what the pipe holds, so that a flood cannot keep this thread from its other checks.
    for (int count = 0; count < 128 && !hasClosedReports_; ++count) {
        const auto message = worker.tryRead();
        if (message) {
            handle(*message);
        } else if (worker.hasClosedReports()) {
            hasClosedReports_ = true;
            lastSign_ = Clock::now();
            if (worker.hasPartOfMessage()) {
                throw JobFailure(workerNonsense, "a message ends in the middle");
            }
        } else {
            return;
        }
    }
}

void WorkerSupervision::handle(const WorkerMessage& message) {
    if (done_ || ++messages_ > mostMessages) {
        throw JobFailure(workerNonsense, done_ ? "it went on after its last message" : "too many messages");
    }
    const std::string text = message.text.data();
    switch (message.kind) {
    case WorkerMessage::Kind::progress:
        handleProgress(message.fraction);
        return;
    case WorkerMessage::Kind::note:
        handleNote(text);
        return;
    case WorkerMessage::Kind::damaged:
        damage_ = text;
        return;
    case WorkerMessage::Kind::done:
        done_ = true;
        lastSign_ = Clock::now();
        return;
    case WorkerMessage::Kind::failed:
        if (isConversionError(message.code)) {
            throw JobFailure(static_cast<ConversionError>(message.code), text);
        }
        break;
    }
    throw JobFailure(workerNonsense, "a message of an unknown kind or code");
}

void WorkerSupervision::handleProgress(float fraction) {
    if (!std::isfinite(fraction)) {
        return;
    }
    const float reached = std::clamp(fraction, 0.0F, 1.0F);
    if (reached >= furthest_ + smallestStep) {
        furthest_ = reached;
        lastSign_ = Clock::now();
    }
    owner_.jobProgress(reached * workerPercent);
}

void WorkerSupervision::handleNote(const std::string& text) {
    ++notes_;
    if (notes_ <= mostNotes) {
        note_(text);
    } else if (notes_ == mostNotes + 1) {
        note_("further notes are dropped");
    }
}

void WorkerSupervision::requireSigns(const WorkerProcess& worker) {
    const auto now = Clock::now();
    if (now - lastSign_ < std::chrono::milliseconds(lookMilliseconds)) {
        return;
    }
    const auto processorTime = worker.processorTime();
    // After its last message the worker has nothing left to compute.
    const bool computes =
        processorTime != std::exchange(lastProcessorTime_, processorTime) && !done_ && !hasClosedReports_;
    if (computes || worker.waitsForDisk()) {
        lastSign_ = now;
    } else if (now - lastSign_ >= patience) {
        throw JobFailure(workerHung);
    }
}

void WorkerSupervision::requireCleanEnd(const WorkerProcess& worker, const WorkerEnd& end) const {
    if (done_ && (!end.status || (WIFEXITED(*end.status) && WEXITSTATUS(*end.status) == 0))) {
        return;
    }
    if (!end.status) {
        throw JobFailure(workerCrashed);
    }
    if (worker.isOverBudget(end)) {
        throw JobFailure(workerOverBudget);
    }
    if (WIFEXITED(*end.status) && WEXITSTATUS(*end.status) == 127) {
        throw JobFailure(workerMissing, "it or one of its libraries cannot be loaded");
    }
    throw JobFailure(workerCrashed, WIFSIGNALED(*end.status)
                                        ? "by signal " + std::to_string(WTERMSIG(*end.status))
                                        : "exit status " + std::to_string(WEXITSTATUS(*end.status)));
}

}  // namespace mediaconverter
