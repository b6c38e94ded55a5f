#include "tools/meeting-client/Recorder.h"

#include "tools/meeting-client/ChildProcess.h"

#include <chrono>
#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

Recorder::~Recorder() {
    breakOff();
}

bool Recorder::start(const std::string& path) {
    path_ = path;
    // clang-format off
    std::vector<std::string> arguments{
        "-nostdin", "-hide_banner", "-loglevel", "error", "-n",
        "-re", "-f", "lavfi", "-i", "testsrc2=size=640x360:rate=25",
        "-re", "-f", "lavfi", "-i", "sine=frequency=440:sample_rate=48000",
        "-pix_fmt", "yuv420p", "-g", "25", "-c:a", "aac", "-b:a", "96k",
        // A meeting that dies without quitting must lose only its last moments.
        "-flush_packets", "1", "-cluster_time_limit", "250"};
    const std::vector<std::string> picture = codec_ == PictureCodec::h264
        ? std::vector<std::string>{"-c:v", "libx264", "-preset", "ultrafast", "-tune", "zerolatency"}
        : std::vector<std::string>{"-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", "16", "-b:v", "1M"};
    // clang-format on
    arguments.insert(arguments.end(), picture.begin(), picture.end());
    arguments.insert(arguments.end(), {"-f", "matroska", "file:" + path});
    child_ = startChild(ffmpeg_, arguments);
    return child_ > 0;
}

bool Recorder::isWriting() const {
    struct stat status {};
    return stat(path_.c_str(), &status) == 0 && status.st_size > 0;
}

bool Recorder::isRunning() {
    if (child_ > 0 && waitpid(child_, nullptr, WNOHANG) == child_) {
        child_ = -1;
    }
    return child_ > 0;
}

bool Recorder::finish() {
    if (!isRunning()) {
        return false;
    }
    kill(child_, SIGINT);
    for (const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
         std::chrono::steady_clock::now() < deadline;) {
        if (!isRunning()) {
            return true;
        }
        std::this_thread::sleep_for(10ms);
    }
    breakOff();
    return false;
}

void Recorder::breakOff() {
    if (isRunning()) {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
        child_ = -1;
    }
}
