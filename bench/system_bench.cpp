// Measures the whole converter as another process, on the session bus that it finds, against bare programs beside it.
// Writes one JSON object. `--smoke` runs each measurement once, small, and judges nothing.
//
//   system-bench APPLICATION-FOLDER REFERENCE-FOLDER MEETING-CLIPS... [--smoke]

#include "BusClient.h"
#include "Child.h"
#include "Pairs.h"
#include "contract/PrivateBus.h"

#include <QByteArray>
#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

const QString spawnConfirm = QStringLiteral("kMeetingRecordNotificationName_AppSpawnConfirm");
const QString acknowledgement = QStringLiteral("kMeetingRecordNotificationName_AckNotification");
const QString recordingStarted = QStringLiteral("kMeetingRecordNotificationName_RecordingStarted");
const QString recordingStopped = QStringLiteral("kMeetingRecordNotificationName_RecordingStopped");
const QString meetingAppQuit = QStringLiteral("kMeetingRecordNotificationName_MeetingAppQuit");
const QString ackToProcessId = QStringLiteral("kMeetingRecordNotificationKey_AckToProcessId");

struct Settings {
    std::size_t pairs = 11;
    int notifications = 2000;
    int burst = 10'000;
    int senders = 10;
    double idleSeconds = 60;
    bool meetings = true;
};

struct Programs {
    std::vector<std::string> converter;
    std::vector<std::string> bare;
    std::vector<std::string> echo;
};

[[noreturn]] void fail(const std::string& what) {
    static_cast<void>(std::fprintf(stderr, "system-bench: %s\n", what.c_str()));
    std::exit(EXIT_FAILURE);
}

/// Starts `command`; returns once its spawn confirmation has arrived.
std::unique_ptr<bench::Child> launch(bench::BusClient& client, const std::vector<std::string>& command,
                                     double* seconds = nullptr) {
    bool confirmed = false;
    client.setHeard([&](const QString& name, const QVariantMap&) { confirmed = confirmed || name == spawnConfirm; });
    const auto begin = Clock::now();
    auto child = std::make_unique<bench::Child>(command);
    if (!bench::BusClient::waitUntil([&] { return confirmed; }, 10)) {
        fail("no spawn confirmation from " + command.front());
    }
    if (seconds != nullptr) {
        *seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    }
    client.setHeard(nullptr);
    return child;
}

double launchSeconds(bench::BusClient& client, const std::vector<std::string>& command) {
    double seconds = 0;
    launch(client, command, &seconds)->end();
    return seconds;
}

void letSettle() {
    std::this_thread::sleep_for(std::chrono::seconds(2));
}

double idlePrivateKiB(bench::BusClient& client, const std::vector<std::string>& command) {
    const auto child = launch(client, command);
    letSettle();
    const double result = child->privateKiB();
    child->end();
    return result;
}

double percentile99(std::vector<double> values) {
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(values.size() * 99 / 100);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

/// Restores an environment variable at its end.
class KeptVariable {
public:
    explicit KeptVariable(const char* name)
        : name_(name), wasSet_(qEnvironmentVariableIsSet(name)), value_(qgetenv(name)) {}
    ~KeptVariable() { wasSet_ ? qputenv(name_, value_) : qunsetenv(name_); }

    KeptVariable(const KeptVariable&) = delete;
    KeptVariable& operator=(const KeptVariable&) = delete;

private:
    const char* name_;
    bool wasSet_;
    QByteArray value_;
};

/// A program on a bus of its own, launched. The destructor ends it.
class Answerer {
public:
    explicit Answerer(const std::vector<std::string>& command)
        : client_(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS")), child_(launch(client_, command)) {
        session_.reset();
        system_.reset();
        client_.setHeard([this](const QString& name, const QVariantMap& userInfo) {
            acknowledged_ =
                acknowledged_ || (name == acknowledgement && userInfo.value(ackToProcessId).toInt() == awaited_);
        });
    }

    double acknowledgementSeconds() {
        awaited_ = 1'000'000 + (awaited_ + 1) % 100;
        acknowledged_ = false;
        return bench::secondsOf([this] {
            client_.post(recordingStopped, awaited_);
            if (!bench::BusClient::waitUntil([this] { return acknowledged_; }, 10)) {
                fail("no acknowledgement");
            }
        });
    }

private:
    // A private bus is named in the environment; here only until its program has been launched.
    std::optional<KeptVariable> session_{std::in_place, "DBUS_SESSION_BUS_ADDRESS"};
    std::optional<KeptVariable> system_{std::in_place, "DBUS_SYSTEM_BUS_ADDRESS"};
    test::PrivateBus bus_;
    bench::BusClient client_;
    std::unique_ptr<bench::Child> child_;
    int awaited_ = 0;
    bool acknowledged_ = false;
};

void printLatencies(const Programs& programs, const Settings& settings) {
    bench::Pairs medians{"recording-stopped to acknowledgement, median", 1.3, {}, {}};
    bench::Pairs tails{"recording-stopped to acknowledgement, 99th percentile", 1.3, {}, {}};
    std::vector<double> allOurs;
    std::vector<double> allReference;
    for (std::size_t i = 0; i < settings.pairs; ++i) {
        Answerer ours(programs.converter);
        Answerer reference(programs.echo);
        // A recording is stopped long after the launch, some of whose work comes after the spawn confirmation.
        letSettle();
        std::vector<double> oursOfPair;
        std::vector<double> referenceOfPair;
        // The slowest hundredth depends on other load on the machine, which lasts longer than many notifications: both
        // are queried in turns, so that it affects both, and all pairs are evaluated together.
        for (int k = 0; k < settings.notifications; ++k) {
            referenceOfPair.push_back(reference.acknowledgementSeconds());
            oursOfPair.push_back(ours.acknowledgementSeconds());
        }
        medians.ours.push_back(bench::median(oursOfPair));
        medians.reference.push_back(bench::median(referenceOfPair));
        tails.ours.push_back(percentile99(oursOfPair));
        tails.reference.push_back(percentile99(referenceOfPair));
        allOurs.insert(allOurs.end(), oursOfPair.begin(), oursOfPair.end());
        allReference.insert(allReference.end(), referenceOfPair.begin(), referenceOfPair.end());
    }
    tails.oursOfAll = percentile99(allOurs);
    tails.referenceOfAll = percentile99(allReference);
    bench::print(medians);
    bench::print(tails);
}

struct Burst {
    double seconds = 0;
    bool inOrder = true;
    int lost = 0;
};

/// Each sender numbers its process ids upwards, so that the acknowledgements reveal their order.
Burst burstSeconds(bench::BusClient& client, const std::vector<std::string>& command, const Settings& settings) {
    const auto child = launch(client, command);
    const int each = settings.burst / settings.senders;
    std::vector<int> next(static_cast<std::size_t>(settings.senders), 0);
    Burst result;
    int arrived = 0;
    client.setHeard([&](const QString& name, const QVariantMap& userInfo) {
        if (name == acknowledgement) {
            const int id = userInfo.value(ackToProcessId).toInt() - 1'000'000;
            auto& expected = next.at(static_cast<std::size_t>(id / each));
            result.inOrder = result.inOrder && id % each == expected;
            ++expected;
            ++arrived;
        }
    });
    const auto begin = Clock::now();
    for (int i = 0; i < each; ++i) {
        for (int sender = 0; sender < settings.senders; ++sender) {
            client.post(recordingStopped, 1'000'000 + sender * each + i, sender);
        }
    }
    bench::BusClient::waitUntil([&] { return arrived == settings.burst; }, 60);
    result.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    result.lost = settings.burst - arrived;
    client.setHeard(nullptr);
    child->end();
    return result;
}

/// CPU time of a whole meeting with these recordings, from the converter's start to its end.
double meetingCpuSeconds(const std::vector<std::string>& converter, const std::vector<fs::path>& clips,
                         const fs::path& folder) {
    fs::create_directories(folder);
    const double before = bench::cpuSecondsOfEndedChildren();
    bench::Child meeting({"sleep", "1000"});
    auto command = converter;
    const auto first = folder / "first.mkv";
    fs::copy_file(clips.at(0), first);
    command.insert(command.end(), {"-pid", std::to_string(meeting.pid()), "-path", first.string()});
    bench::BusClient client;
    const auto child = launch(client, command);
    client.post(recordingStopped, meeting.pid());
    const auto second = folder / "second.mkv";
    fs::copy_file(clips.at(1), second);
    client.post(recordingStarted, meeting.pid(), 0, QString::fromStdString(second.string()));
    bench::BusClient::waitUntil([] { return false; }, 0.5);
    meeting.end();
    child->wait();
    if (!fs::exists(folder / "first.mp4") || !fs::exists(folder / "second.mp4")) {
        fail("the meeting's recordings were not converted");
    }
    fs::remove_all(folder);
    return bench::cpuSecondsOfEndedChildren() - before;
}

/// Returns when it has used no processor time for longer than a bubble is shown.
void letEveryBubbleGo(const bench::Child& child) {
    double before = -1;
    double now = child.activity().cpuSeconds;
    while (now != before) {
        std::this_thread::sleep_for(std::chrono::seconds(18));
        before = std::exchange(now, child.activity().cpuSeconds);
    }
}

/// Memory written after each of `rounds` rounds of 100 conversions, once every bubble has closed.
std::vector<double> writtenKiBAfterConversions(bench::BusClient& client, const std::vector<std::string>& converter,
                                               const fs::path& clip, const fs::path& folder, int rounds) {
    constexpr int conversions = 100;
    fs::create_directories(folder);
    // A meeting that continues keeps the converter from quitting in between.
    bench::Child meeting({"sleep", "1000"});
    auto command = converter;
    command.insert(command.end(), {"-pid", std::to_string(meeting.pid()), "-path", (folder / "on.mkv").string()});
    const auto child = launch(client, command);
    std::vector<double> result;
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < conversions; ++i) {
            const auto source = folder / ("talk" + std::to_string(i) + ".mkv");
            fs::copy_file(clip, source);
            client.post(recordingStarted, 1'000'000 + i, 0, QString::fromStdString(source.string()));
            client.post(meetingAppQuit, 1'000'000 + i);
        }
        const auto converted = [&] {
            for (int i = 0; i < conversions; ++i) {
                if (fs::exists(folder / ("talk" + std::to_string(i) + ".mkv"))) {
                    return false;
                }
            }
            return true;
        };
        if (!bench::BusClient::waitUntil(converted, 120)) {
            fail("100 recordings were not converted");
        }
        letEveryBubbleGo(*child);
        result.push_back(child->writtenKiB());
        for (int i = 0; i < conversions; ++i) {
            fs::remove(folder / ("talk" + std::to_string(i) + ".mp4"));
        }
    }
    child->end();
    fs::remove_all(folder);
    return result;
}

double referenceMeetingCpuSeconds(bench::BusClient& client, const std::vector<std::string>& bare,
                                  const std::vector<fs::path>& clips, const fs::path& folder) {
    fs::create_directories(folder);
    const double before = bench::cpuSecondsOfEndedChildren();
    for (const auto& clip : clips) {
        bench::Child ffmpeg({"ffmpeg", "-v", "error", "-i", clip.string(), "-map", "0", "-c", "copy", "-movflags",
                             "+faststart", (folder / (clip.stem().string() + ".mp4")).string()});
        ffmpeg.wait();
    }
    launch(client, bare)->end();
    fs::remove_all(folder);
    return bench::cpuSecondsOfEndedChildren() - before;
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
        fail("usage: system-bench APPLICATION-FOLDER REFERENCE-FOLDER [MEETING-CLIP MEETING-CLIP] [--smoke]");
    }
    const Programs programs = {{arguments[0] + "/bin/record-converter"},
                               {arguments[1] + "/bare-reference"},
                               {arguments[1] + "/echo-reference"}};
    bench::BusClient client(settings.senders);

    std::printf("{\"figures\": [\n");
    launchSeconds(client, programs.converter);
    launchSeconds(client, programs.bare);
    bench::print(bench::measure(
        "launch to spawn confirmation", 1.25, settings.pairs, [&] { return launchSeconds(client, programs.converter); },
        [&] { return launchSeconds(client, programs.bare); }));

    printLatencies(programs, settings);

    bench::Pairs burst{"burst of notifications", 1.3, {}, {}};
    bool inOrder = true;
    int lost = 0;
    for (std::size_t i = 0; i < settings.pairs; ++i) {
        for (const bool isOurs : {false, true}) {
            const auto& command = isOurs ? programs.converter : programs.echo;
            const auto many = burstSeconds(client, command, settings);
            (isOurs ? burst.ours : burst.reference).push_back(many.seconds);
            if (isOurs) {
                inOrder = inOrder && many.inOrder;
                lost += many.lost;
            }
        }
    }
    bench::print(burst);

    if (settings.meetings && arguments.size() >= 4) {
        const std::vector<fs::path> clips = {arguments[2], arguments[3]};
        const auto folder =
            fs::temp_directory_path() / ("system-bench-" + std::to_string(application.applicationPid()));
        bench::print(bench::measure(
            "a whole meeting of two recordings, CPU", 1.3, std::min<std::size_t>(settings.pairs, 9),
            [&] { return meetingCpuSeconds(programs.converter, clips, folder); },
            [&] { return referenceMeetingCpuSeconds(client, programs.bare, clips, folder); }));
    }

    bench::print(bench::measure(
                     "private memory, idle", 0, std::min<std::size_t>(settings.pairs, 9),
                     [&] { return idlePrivateKiB(client, programs.converter); },
                     [&] { return idlePrivateKiB(client, programs.bare); }),
                 true, "KiB");

    const auto idle = launch(client, programs.converter);
    letSettle();
    const auto before = idle->activity();
    std::this_thread::sleep_for(std::chrono::duration<double>(settings.idleSeconds));
    const auto after = idle->activity();
    idle->end();
    double growth = 0;
    if (settings.meetings && arguments.size() >= 4) {
        const auto folder =
            fs::temp_directory_path() / ("system-bench-" + std::to_string(application.applicationPid()));
        // The first rounds fill what is kept for later ones: tables, caches, the allocator's own lists.
        constexpr int half = 3;
        const auto rounds = writtenKiBAfterConversions(client, programs.converter, arguments[2], folder, 2 * half);
        growth = rounds.back() - rounds.at(half - 1);
        for (const double round : rounds) {
            static_cast<void>(std::fprintf(stderr, "written after a round: %.0f KiB\n", round));
        }
    }
    std::printf("],\n\"growthKiB\": %.0f, \"burstInOrder\": %s, \"burstLost\": %d,\n\"idleSeconds\": %.0f, "
                "\"idleWakeUps\": %lu, "
                "\"idleCpuSeconds\": %.6f}\n",
                growth, inOrder ? "true" : "false", lost, settings.idleSeconds, after.wakeUps - before.wakeUps,
                after.cpuSeconds - before.cpuSeconds);
    return EXIT_SUCCESS;
}
