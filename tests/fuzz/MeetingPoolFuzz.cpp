// Random starts, stops, quits and exits of random processes against a small model: no path is lost or invented, and
// every count is right.
#include "Input.h"
#include "KTRMeetingPool.h"
#include "support/FakeDistributedNotificationCenter.h"
#include "support/FakeProcessExitWatch.h"
#include "support/FakeProcessInformation.h"
#include "support/FakeSystemLog.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace {

using Paths = std::vector<std::string>;

/// What one process has written and is writing.
struct Process {
    std::optional<std::string> writing;
    Paths written;
};

class Requests final : public KTRMeetingPoolDelegate {
public:
    void meetingPoolDidReceiveRequestFromProcessToConvertRecords(KTRMeetingPool&, std::int32_t pid,
                                                                 const Paths& paths) override {
        requests.emplace_back(pid, paths);
    }

    std::vector<std::pair<std::int32_t, Paths>> requests;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const test::FakeSystemLog systemLog;
    test::FakeProcessExitWatch exitWatch;
    test::FakeDistributedNotificationCenter center;
    const test::FakeProcessInformation processInformation;
    KTRAppInlet inlet(center, processInformation);
    const auto pool = KTRMeetingPool::create(exitWatch);
    const auto delegate = std::make_shared<Requests>();
    pool->setDelegate(delegate);

    std::map<std::int32_t, Process> known;
    std::set<std::int32_t> guarded;
    std::set<std::int32_t> ended;
    std::vector<std::pair<std::int32_t, Paths>> expected;
    const auto done = [&](std::int32_t pid) {
        auto& process = known[pid];
        if (process.writing) {
            process.written.push_back(*process.writing);
        }
        expected.emplace_back(pid, process.written);
        known.erase(pid);
        guarded.erase(pid);
    };

    for (int step = 0; !input.isEmpty(); ++step) {
        const auto pid = static_cast<std::int32_t>(input.byte() % 7) - 1;
        switch (input.byte() % 5) {
        case 0:
        case 1: {
            const auto path = input.byte() % 8 == 0 ? std::nullopt : std::optional("/f" + std::to_string(step));
            pool->appInletSeesMeetingRecordStartedInProcessSavingToIntermediateFile(inlet, pid, path);
            auto& process = known[pid];
            if (!process.writing) {
                process.writing = path;
            }
            guarded.insert(pid);
            break;
        }
        case 2: {
            pool->appInletSeesMeetingRecordStopedInProcess(inlet, pid);
            auto& process = known[pid];
            if (process.writing) {
                process.written.push_back(*process.writing);
                process.writing.reset();
            }
            break;
        }
        case 3:
            pool->appInletSeesMeetingQuitFromProcess(inlet, pid);
            done(pid);
            break;
        default:
            // Only a living process's exit can be watched: a process that had ended before it was guarded is never
            // reported.
            const bool isSeen = exitWatch.armedCount(pid) > 0;
            exitWatch.exit(pid);
            if (isSeen && guarded.contains(pid)) {
                done(pid);
            }
        }
        fuzz::require(pool->countOfMeetingProcesses() == known.size(), "the count is right");
        fuzz::require(delegate->requests == expected, "every process that is done asks for all its files, once");
    }

    const auto remaining = known;
    for (const auto& [pid, process] : remaining) {
        pool->appInletSeesMeetingQuitFromProcess(inlet, pid);
        done(pid);
    }
    fuzz::require(pool->countOfMeetingProcesses() == 0, "the pool is empty in the end");
    fuzz::require(delegate->requests == expected, "and no path is lost or invented");
    return 0;
}
