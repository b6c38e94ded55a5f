// process-watch: watches processes in the two ways that the application contains but does not use.
#include "KTRMeetingProcessGuard.h"
#include "KTRRunningProcesses.h"
#include "platform/IntegerReading.h"
#include "platform/RunLoop.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "platform/linux/ProcProcessTable.h"

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr int usageError = 2;

class IntervalTimer final : public platform::Timer {
public:
    IntervalTimer(std::chrono::duration<double> interval, std::function<void()> fire)
        : interval_(interval), fire_(std::move(fire)) {}

    void invalidate() override { valid_ = false; }
    bool isValid() const override { return valid_; }

    void run() const {
        while (valid_) {
            std::this_thread::sleep_for(interval_);
            if (valid_) {
                fire_();
            }
        }
    }

private:
    const std::chrono::duration<double> interval_;
    const std::function<void()> fire_;
    std::atomic<bool> valid_{true};
};

/// The parts of a run loop that one timer needs.
class OneTimerLoop final : public platform::RunLoop {
public:
    std::shared_ptr<platform::Timer> scheduleRepeatingTimer(std::chrono::duration<double> interval,
                                                            std::function<void()> fire) override {
        timer_ = std::make_shared<IntervalTimer>(interval, std::move(fire));
        return timer_;
    }
    void addOneShotReadSource(int, std::function<void()>) override {}

    /// Returns when the timer is no longer valid.
    void run() const { timer_->run(); }

private:
    std::shared_ptr<IntervalTimer> timer_;
};

class PrintedPolls final : public KTRMeetingProcessGuardDelegate {
public:
    void meetingProcessGuardDidFoundProcess(KTRMeetingProcessGuard&, std::int32_t pid) override {
        say(pid, "is running");
    }
    void meetingProcessGuardDidLostProcessForTimes(KTRMeetingProcessGuard&, std::int32_t pid,
                                                   std::uint64_t times) override {
        say(pid, "was not seen, in a row: " + std::to_string(times));
    }
    void meetingProcessGuardDidDetectCrashInProcess(KTRMeetingProcessGuard&, std::int32_t pid) override {
        say(pid, "has ended");
    }

private:
    static void say(std::int32_t pid, const std::string& what) {
        std::printf("%d %s\n", pid, what.c_str());
        static_cast<void>(std::fflush(stdout));
    }
};

std::string text(const KTRRunningProcesses::Record& record, const char* key) {
    const auto found = record.find(key);
    if (found == record.end()) {
        return "-";
    }
    if (const auto* const name = std::get_if<std::string>(&found->second)) {
        return *name;
    }
    if (const auto* const id = std::get_if<std::int32_t>(&found->second)) {
        return std::to_string(*id);
    }
    return std::to_string(std::get<std::uint32_t>(found->second));
}

void list() {
    for (const auto& record : KTRRunningProcesses::getBSDProcessList()) {
        std::printf("%8s %-16s %6s %s\n", text(record, "processID").c_str(), text(record, "processName").c_str(),
                    text(record, "userID").c_str(), text(record, "userName").c_str());
    }
}

void guard(std::int32_t pid) {
    OneTimerLoop loop;
    const platform::LinuxRunningApplications applications;
    const auto polls = std::make_shared<PrintedPolls>();
    const auto watching = std::make_shared<KTRMeetingProcessGuard>(pid, loop, applications);
    watching->setDelegate(polls);
    watching->guardIt();
    loop.run();
}

}  // namespace

int main(int argc, char* argv[]) {
    const platform::ProcProcessTable table;
    platform::ProcessTable::setStandard(&table);
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    if (arguments.size() == 1 && arguments[0] == "list") {
        list();
    } else if (arguments.size() == 1 && arguments[0] == "paths") {
        KTRRunningProcesses::printProcesses();
    } else if (arguments.size() == 2 && arguments[0] == "guard") {
        guard(platform::integerReading(arguments[1]));
    } else {
        static_cast<void>(
            std::fputs("usage: process-watch list        every process: id, name, user id, user name\n"
                       "       process-watch paths       what every process executes, where that can be known\n"
                       "       process-watch guard PID   polls a process once a second until it has ended\n",
                       stderr));
        return usageError;
    }
    return 0;
}
