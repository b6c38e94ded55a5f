#include "tools/convert-recording/PendingConversions.h"

#include "platform/FileManager.h"
#include "platform/ThreadSerialQueue.h"
#include "platform/linux/LinuxBackgroundExecutor.h"
#include "platform/linux/LinuxProcessIdentities.h"
#include "recordkeeping/PendingRecordings.h"

#include <unistd.h>

namespace {

using recordkeeping::PendingEntry;

/// An entry that needs no conversion has its outcome at once.
bool isDecided(const PendingEntry& entry, const platform::ProcessIdentities& processes, Outcome& outcome) {
    const platform::PosixFileManager files;
    outcome.source = entry.source;
    if (entry.state < PendingEntry::State::due && processes.isAlive(entry.meeting)) {
        outcome.kind = Outcome::Kind::stillWritten;
        outcome.text = "process " + std::to_string(entry.meeting.processId) + " is still recording";
        return true;
    }
    if (!entry.destination.empty() && files.fileExistsAtPath(entry.destination, nullptr)) {
        outcome.kind = Outcome::Kind::converted;
        outcome.destination = entry.destination;
        outcome.text = "a converter that has ended saved it";
        return true;
    }
    return false;
}

}  // namespace

void PendingConversions::convertAll(const Report& report) const {
    platform::LinuxProcessIdentities processes;
    platform::LinuxBackgroundExecutor executor;
    platform::ThreadSerialQueue later("sync");
    // Outlives everything that the executor still runs at the end.
    static recordkeeping::PendingFolder& folder =
        *new recordkeeping::PendingFolder(recordkeeping::PendingFolder::standardPath(), executor, later);
    recordkeeping::PendingRecordings pending(folder, processes, static_cast<std::int32_t>(::getpid()));
    for (const auto& entry : pending.takeOver()) {
        Outcome outcome;
        if (!isDecided(entry, processes, outcome)) {
            LeftoverConversion::Options options = options_;
            options.keep = options.keep || entry.keep;
            outcome = LeftoverConversion(options, progress_).convert(entry.source);
        }
        if (outcome.kind == Outcome::Kind::converted) {
            pending.remove(entry.source);
        }
        report(outcome);
    }
}
