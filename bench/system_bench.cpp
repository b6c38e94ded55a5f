// Measures the whole converter as another process, on the session bus that it finds, against bare programs beside it.
// Writes one JSON object. `--smoke` runs each measurement once, small, and judges nothing.
//
//   system-bench APPLICATION-FOLDER REFERENCE-FOLDER MEETING-CLIPS... [--smoke]

#include "Acknowledgements.h"
#include "BusClient.h"
#include "Child.h"
#include "Launch.h"
#include "Meetings.h"
#include "Pairs.h"

#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Settings {
    std::size_t pairs = 11;
    int notifications = 2000;
    int burst = 10'000;
    int senders = 10;
    double idleSeconds = 60;
    bool meetings = true;

    /// For what takes long.
    std::size_t fewerPairs() const { return std::min<std::size_t>(pairs, 9); }
};

struct Programs {
    std::vector<std::string> converter;
    std::vector<std::string> bare;
    std::vector<std::string> echo;
};

void printLaunch(bench::BusClient& client, const Programs& programs, const Settings& settings) {
    bench::launchSeconds(client, programs.converter);
    bench::launchSeconds(client, programs.bare);
    bench::print(bench::measure(
        "launch to spawn confirmation", 1.25, settings.pairs,
        [&] { return bench::launchSeconds(client, programs.converter); },
        [&] { return bench::launchSeconds(client, programs.bare); }));
}

/// Of the converter's bursts together.
struct BurstResult {
    bool inOrder = true;
    int lost = 0;
};

BurstResult printBurst(bench::BusClient& client, const Programs& programs, const Settings& settings) {
    BurstResult result;
    bench::print(bench::measure(
        "burst of notifications", 1.3, settings.pairs,
        [&] {
            const auto ours = bench::burstSeconds(client, programs.converter, settings.burst, settings.senders);
            result.inOrder = result.inOrder && ours.inOrder;
            result.lost += ours.lost;
            return ours.seconds;
        },
        [&] { return bench::burstSeconds(client, programs.echo, settings.burst, settings.senders).seconds; }));
    return result;
}

void printMeeting(bench::BusClient& client, const Programs& programs, const Settings& settings,
                  const std::vector<fs::path>& clips, const fs::path& folder) {
    bench::print(bench::measure(
        "a whole meeting of two recordings, CPU", 1.3, settings.fewerPairs(),
        [&] { return bench::meetingCpuSeconds(programs.converter, clips, folder); },
        [&] { return bench::referenceMeetingCpuSeconds(client, programs.bare, clips, folder); }));
}

void printIdleMemory(bench::BusClient& client, const Programs& programs, const Settings& settings) {
    bench::print(bench::measure(
                     "private memory, idle", 0, settings.fewerPairs(),
                     [&] { return bench::idlePrivateKiB(client, programs.converter); },
                     [&] { return bench::idlePrivateKiB(client, programs.bare); }),
                 true, "KiB");
}

/// What the converter does in `seconds` without work.
bench::Child::Activity idleActivity(bench::BusClient& client, const Programs& programs, double seconds) {
    const auto idle = bench::launch(client, programs.converter);
    bench::letSettle();
    const auto before = idle->activity();
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    const auto after = idle->activity();
    idle->end();
    return {after.wakeUps - before.wakeUps, after.cpuSeconds - before.cpuSeconds};
}

double growthKiB(bench::BusClient& client, const Programs& programs, const fs::path& clip, const fs::path& folder) {
    // The first rounds fill what is kept for later ones: tables, caches, the allocator's own lists.
    constexpr int half = 3;
    const auto rounds = bench::writtenKiBAfterConversions(client, programs.converter, clip, folder, 2 * half);
    for (const double round : rounds) {
        static_cast<void>(std::fprintf(stderr, "written after a round: %.0f KiB\n", round));
    }
    return rounds.back() - rounds.at(half - 1);
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    std::vector<std::string> arguments(argv + 1, argv + argc);
    Settings settings;
    if (std::erase(arguments, "--smoke") > 0) {
        settings = {1, 20, 100, 10, 1, false};
    }
    if (arguments.size() < 2) {
        bench::fail("usage: system-bench APPLICATION-FOLDER REFERENCE-FOLDER [MEETING-CLIP MEETING-CLIP] [--smoke]");
    }
    const Programs programs = {{arguments[0] + "/bin/record-converter"},
                               {arguments[1] + "/bare-reference"},
                               {arguments[1] + "/echo-reference"}};
    const bool hasMeetings = settings.meetings && arguments.size() >= 4;
    const auto clips = hasMeetings ? std::vector<fs::path>{arguments[2], arguments[3]} : std::vector<fs::path>{};
    const auto folder = fs::temp_directory_path() / ("system-bench-" + std::to_string(application.applicationPid()));
    bench::BusClient client(settings.senders);

    std::printf("{\"figures\": [\n");
    printLaunch(client, programs, settings);
    bench::printLatencies(programs.converter, programs.echo, settings.pairs, settings.notifications);
    const auto burst = printBurst(client, programs, settings);
    if (hasMeetings) {
        printMeeting(client, programs, settings, clips, folder);
    }
    printIdleMemory(client, programs, settings);
    const auto idle = idleActivity(client, programs, settings.idleSeconds);
    const double growth = hasMeetings ? growthKiB(client, programs, clips[0], folder) : 0;
    std::printf("],\n\"growthKiB\": %.0f, \"burstInOrder\": %s, \"burstLost\": %d,\n\"idleSeconds\": %.0f, "
                "\"idleWakeUps\": %lu, "
                "\"idleCpuSeconds\": %.6f}\n",
                growth, burst.inOrder ? "true" : "false", burst.lost, settings.idleSeconds, idle.wakeUps,
                idle.cpuSeconds);
    return EXIT_SUCCESS;
}
