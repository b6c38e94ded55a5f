#include "Meetings.h"

#include "Child.h"
#include "Launch.h"

#include <chrono>
#include <thread>
#include <utility>

namespace bench {

namespace fs = std::filesystem;

namespace {

/// Returns when it has used no processor time for longer than a bubble is shown.
void letEveryBubbleGo(const Child& child) {
    double before = -1;
    double now = child.activity().cpuSeconds;
    while (now != before) {
        std::this_thread::sleep_for(std::chrono::seconds(18));
        before = std::exchange(now, child.activity().cpuSeconds);
    }
}

}  // namespace

double meetingCpuSeconds(const std::vector<std::string>& converter, const std::vector<fs::path>& clips,
                         const fs::path& folder) {
    fs::create_directories(folder);
    const double before = cpuSecondsOfEndedChildren();
    Child meeting({"sleep", "1000"});
    auto command = converter;
    const auto first = folder / "first.mkv";
    fs::copy_file(clips.at(0), first);
    command.insert(command.end(), {"-pid", std::to_string(meeting.pid()), "-path", first.string()});
    BusClient client;
    const auto child = launch(client, command);
    client.post(recordingStopped, meeting.pid());
    const auto second = folder / "second.mkv";
    fs::copy_file(clips.at(1), second);
    client.post(recordingStarted, meeting.pid(), 0, QString::fromStdString(second.string()));
    BusClient::waitUntil([] { return false; }, 0.5);
    meeting.end();
    child->wait();
    if (!fs::exists(folder / "first.mp4") || !fs::exists(folder / "second.mp4")) {
        fail("the meeting's recordings were not converted");
    }
    fs::remove_all(folder);
    return cpuSecondsOfEndedChildren() - before;
}

double referenceMeetingCpuSeconds(BusClient& client, const std::vector<std::string>& bare,
                                  const std::vector<fs::path>& clips, const fs::path& folder) {
    fs::create_directories(folder);
    const double before = cpuSecondsOfEndedChildren();
    for (const auto& clip : clips) {
        Child ffmpeg({"ffmpeg", "-v", "error", "-i", clip.string(), "-map", "0", "-c", "copy", "-movflags",
                      "+faststart", (folder / (clip.stem().string() + ".mp4")).string()});
        ffmpeg.wait();
    }
    launch(client, bare)->end();
    fs::remove_all(folder);
    return cpuSecondsOfEndedChildren() - before;
}

std::vector<double> writtenKiBAfterConversions(BusClient& client, const std::vector<std::string>& converter,
                                               const fs::path& clip, const fs::path& folder, int rounds) {
    constexpr int conversions = 100;
    fs::create_directories(folder);
    // A meeting that continues keeps the converter from quitting in between.
    Child meeting({"sleep", "1000"});
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
        if (!BusClient::waitUntil(converted, 120)) {
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

}  // namespace bench
