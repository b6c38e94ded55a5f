#include "mediaconverter/job/ConversionJob.h"

#include "mediaconverter/job/DamagedSource.h"
#include "mediaconverter/job/JobFailure.h"
#include "mediaconverter/job/JobLog.h"
#include "mediaconverter/job/Mp4Structure.h"

#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>

namespace mediaconverter {

namespace {

using enum ConversionError;

/// How long a worker may neither report nor compute.
constexpr int patienceSeconds = 30;

/// What the worker's work is of the whole; the rest is syncing and publishing.
constexpr float workerPercent = 97.0F;

}  // namespace

ConversionJob::ConversionJob(JobOwner& owner, std::string source, std::string destination)
    : owner_(owner), sourcePath_(std::move(source)), destinationPath_(std::move(destination)) {}

void ConversionJob::run() {
    const SourceFile& source = source_.emplace(sourcePath_);
    OutputFile output(destinationPath_, source.status());
    if (source.isOpenForWriting()) {
        note("another program still has the recording open for writing");
    }
    owner_.jobProgress(0);
    runWorker(source, output);
    requireWholeMp4(output.descriptor());
    owner_.jobProgress(workerPercent);
    source.requireUnchanged();
    requireNotAbandoned();
    output.sync(source.status());
    owner_.jobProgress(99);
    source.requireUnchanged();
    requireNotAbandoned();
    if (!damage_) {
        output.publish();
        return;
    }
    DamagedSource kept(source);
    note("parts of the recording could not be read (" + *damage_ + "); its data stays as " + printable(kept.path()));
    output.publish();
    kept.keep();
}

void ConversionJob::runWorker(const SourceFile& source, const OutputFile& output) {
    WorkerProcess worker(workerProgram(), source.descriptor(), output.descriptor());
    while (true) {
        if (!waitForMessage(worker)) {
            requireSigns(worker);
            continue;
        }
        silentSeconds_ = 0;
        const auto message = worker.read();
        if (!message) {
            requireCleanEnd(worker, false);
        }
        if (message->kind == WorkerMessage::Kind::done) {
            requireCleanEnd(worker, true);
            return;
        }
        take(*message);
    }
}

bool ConversionJob::waitForMessage(WorkerProcess& worker) {
    pollfd waiting[2] = {{worker.descriptor(), POLLIN, 0}, {owner_.abandonDescriptor(), POLLIN, 0}};
    const int ready = ::poll(waiting, 2, 1000);
    requireNotAbandoned();
    return ready > 0 && waiting[0].revents != 0;
}

void ConversionJob::requireSigns(WorkerProcess& worker) {
    const auto processorTime = worker.processorTime();
    const bool alive = processorTime != lastProcessorTime_ || worker.waitsForDisk();
    lastProcessorTime_ = processorTime;
    silentSeconds_ = alive ? 0 : silentSeconds_ + 1;
    if (silentSeconds_ >= patienceSeconds) {
        throw JobFailure(workerHung);
    }
}

void ConversionJob::requireCleanEnd(WorkerProcess& worker, bool saidDone) {
    // After its last word the worker has nothing left to do but to end.
    if (saidDone) {
        pollfd waiting = {worker.descriptor(), POLLIN, 0};
        int ready = 0;
        do {
            ready = ::poll(&waiting, 1, patienceSeconds * 1000);
        } while (ready < 0 && errno == EINTR);
        if (ready == 0) {
            throw JobFailure(workerHung);
        }
        if (worker.read()) {
            throw JobFailure(workerNonsense);
        }
    }
    const auto status = worker.wait();
    if (!status) {
        if (saidDone) {
            return;
        }
        throw JobFailure(workerCrashed);
    }
    if (WIFEXITED(*status) && WEXITSTATUS(*status) == 0 && saidDone) {
        return;
    }
    if (WIFEXITED(*status) && WEXITSTATUS(*status) == 127) {
        throw JobFailure(workerMissing, "it or one of its libraries cannot be loaded");
    }
    throw JobFailure(workerCrashed, WIFSIGNALED(*status) ? "by signal " + std::to_string(WTERMSIG(*status))
                                                         : "exit status " + std::to_string(WEXITSTATUS(*status)));
}

void ConversionJob::take(const WorkerMessage& message) {
    const std::string text = message.text.data();
    switch (message.kind) {
    case WorkerMessage::Kind::progress:
        if (std::isfinite(message.fraction)) {
            owner_.jobProgress(std::clamp(message.fraction, 0.0F, 1.0F) * workerPercent);
        }
        return;
    case WorkerMessage::Kind::note:
        note(text);
        return;
    case WorkerMessage::Kind::damaged:
        damage_ = text;
        return;
    case WorkerMessage::Kind::failed:
        if (isConversionError(message.code)) {
            throw JobFailure(static_cast<ConversionError>(message.code), text);
        }
        break;
    default:
        break;
    }
    throw JobFailure(workerNonsense);
}

void ConversionJob::requireNotAbandoned() const {
    if (owner_.isAbandoned()) {
        throw JobFailure(abandoned);
    }
}

void ConversionJob::note(const std::string& text) const {
    logLine(sourcePath_ + ": " + text);
}

}  // namespace mediaconverter
