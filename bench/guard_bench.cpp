// Measures how soon the end of a guarded process is reported, against a bare pidfd poll, and what a thousand guarded
// processes leave allocated. Writes one JSON object. `--smoke` runs everything once, with few processes.

#include "KTRProcessGuard.h"
#include "Pairs.h"
#include "platform/linux/PidfdProcessExitWatch.h"
#include "platform/qt/QtRunLoop.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

class Losses final : public KTRProcessGuardDelegate {
public:
    void processGuardLostProcess(std::int32_t pid) override {
        ++reports[pid];
        last = Clock::now();
    }

    std::map<std::int32_t, int> reports;
    Clock::time_point last;
};

/// A process that sleeps for `microseconds`; 0 until it is killed.
pid_t spawnSleeper(useconds_t microseconds) {
    const pid_t pid = ::fork();
    if (pid < 0) {
        throw std::runtime_error("can't fork");
    }
    if (pid == 0) {
        if (microseconds == 0) {
            ::pause();
        }
        ::usleep(microseconds);
        ::_exit(0);
    }
    return pid;
}

double guardedSeconds(KTRProcessGuard& guard, Losses& losses) {
    const pid_t pid = spawnSleeper(0);
    guard.guardProcessWithPid(pid);
    const auto begin = Clock::now();
    ::kill(pid, SIGKILL);
    while (losses.reports[pid] == 0) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
    }
    ::waitpid(pid, nullptr, 0);
    return std::chrono::duration<double>(losses.last - begin).count();
}

double polledSeconds() {
    const pid_t pid = spawnSleeper(0);
    const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
    const auto begin = Clock::now();
    ::kill(pid, SIGKILL);
    pollfd waiting{descriptor, POLLIN, 0};
    static_cast<void>(::poll(&waiting, 1, -1));
    const auto end = Clock::now();
    ::close(descriptor);
    ::waitpid(pid, nullptr, 0);
    return std::chrono::duration<double>(end - begin).count();
}

std::ptrdiff_t openDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    const bool smoke = argc > 1 && std::strcmp(argv[1], "--smoke") == 0;
    const std::size_t pairs = smoke ? 1 : 15;
    const int deaths = smoke ? 3 : 100;
    const int processes = smoke ? 20 : 1000;

    platform::qt::QtRunLoop runLoop;
    platform::PidfdProcessExitWatch watch(runLoop);
    const auto guard = KTRProcessGuard::create(watch);
    const auto losses = std::make_shared<Losses>();
    guard->setDelegate(losses);

    const auto medianOf = [deaths](const std::function<double()>& once) {
        std::vector<double> seconds;
        for (int i = 0; i < deaths; ++i) {
            seconds.push_back(once());
        }
        return bench::median(seconds);
    };
    std::printf("{\"figures\": [\n");
    bench::print(bench::measure(
                     "process death to exit report", 1.3, pairs,
                     [&] { return medianOf([&] { return guardedSeconds(*guard, *losses); }); },
                     [&] { return medianOf(polledSeconds); }),
                 true);

    losses->reports.clear();
    const auto descriptorsBefore = openDescriptors();
    std::vector<pid_t> sleepers;
    for (int i = 0; i < processes; ++i) {
        sleepers.push_back(
            spawnSleeper(1 + static_cast<useconds_t>(i) * 1'000'000 / static_cast<useconds_t>(processes)));
        guard->guardProcessWithPid(sleepers.back());
    }
    const auto deadline = Clock::now() + std::chrono::seconds(30);
    while (losses->reports.size() < sleepers.size() && Clock::now() < deadline) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    for (const pid_t pid : sleepers) {
        ::waitpid(pid, nullptr, 0);
    }
    const auto once = std::count_if(losses->reports.begin(), losses->reports.end(),
                                    [](const auto& report) { return report.second == 1; });
    std::printf("],\n\"guarded\": %d, \"reportedOnce\": %td, \"descriptorsLeft\": %td, \"stillGuarded\": %zu}\n",
                processes, once, openDescriptors() - descriptorsBefore, guard->guardProcessIdArr().size());
    return EXIT_SUCCESS;
}
