#include "mediaconverter/Samples.h"

#include "support/TemporaryFolder.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace mediatest {

namespace {

pid_t start(const std::vector<std::string>& command, int output) {
    std::vector<char*> arguments;
    for (const std::string& word : command) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (output >= 0) {
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    }
    pid_t pid = -1;
    const int failed = ::posix_spawnp(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) {
        throw std::runtime_error("cannot start " + command.front());
    }
    return pid;
}

int statusOf(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        // ffprobe ends the line with a comma where a stream has side data.
        line.erase(line.find_last_not_of(',') + 1);
        if (!line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}

int runFor(const std::vector<std::string>& command, std::string& output) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t pid = start(command, ends[1]);
    ::close(ends[1]);
    char block[4096];
    for (ssize_t got = 0; (got = ::read(ends[0], block, sizeof block)) > 0;) {
        output.append(block, static_cast<std::size_t>(got));
    }
    ::close(ends[0]);
    return statusOf(pid);
}

std::string outputOf(const std::vector<std::string>& command) {
    std::string output;
    if (const int status = runFor(command, output); status != 0) {
        throw std::runtime_error(command.front() + " ended with " + std::to_string(status));
    }
    return output;
}

int runQuietly(const std::vector<std::string>& command) {
    return statusOf(start(command, -1));
}

namespace samples {

std::string make(const std::string& extension, const std::vector<std::string>& codecs, double seconds) {
    static std::mutex mutex;
    static TemporaryFolder folder;
    static std::map<std::string, std::string> made;
    const std::lock_guard lock(mutex);
    std::string key = extension + " " + std::to_string(seconds);
    for (const std::string& option : codecs) {
        key += " " + option;
    }
    std::string& path = made[key];
    if (path.empty()) {
        const std::string file = folder.file(std::to_string(made.size()) + "." + extension);
        std::vector<std::string> command = {"ffmpeg", "-v",
                                            "error",  "-y",
                                            "-f",     "lavfi",
                                            "-i",     "testsrc2=size=320x240:rate=25",
                                            "-f",     "lavfi",
                                            "-i",     "sine=frequency=440:sample_rate=48000",
                                            "-t",     std::to_string(seconds)};
        command.insert(command.end(), codecs.begin(), codecs.end());
        command.push_back(file);
        if (runQuietly(command) != 0) {
            throw std::runtime_error("ffmpeg made no " + key);
        }
        path = file;
    }
    return path;
}

std::string matroska() {
    return make("mkv", {"-c:v", "libx264", "-preset", "veryfast", "-g", "25", "-c:a", "aac"});
}

std::string turned(const std::string& bytes) {
    // The matrix of ISO/IEC 14496-12, 8.3.2, whose values are 16.16 and, in the last column, 2.30.
    const std::string one("\0\1\0\0", 4);
    const std::string minusOne("\xff\xff\0\0", 4);
    const std::string lastOne("\x40\0\0\0", 4);
    const std::string none(4, '\0');
    const std::string upright = one + none + none + none + one + none + none + none + lastOne;
    const std::string left = none + one + none + minusOne + none + none + none + none + lastOne;
    const auto track = bytes.find("tkhd");
    const auto matrix = bytes.find(upright, track);
    if (track == std::string::npos || matrix == std::string::npos) {
        throw std::runtime_error("the recording has no upright track");
    }
    return std::string(bytes).replace(matrix, left.size(), left);
}

}  // namespace samples

std::vector<std::string> probe(const std::string& path, const std::string& entries) {
    return linesOf(outputOf({"ffprobe", "-v", "error", "-show_entries", entries, "-of", "csv=p=0", path}));
}

double toneIn(const std::string& path, const std::vector<std::string>& before, const std::vector<std::string>& after) {
    std::vector<std::string> command = {"ffmpeg", "-v", "error"};
    command.insert(command.end(), before.begin(), before.end());
    command.insert(command.end(), {"-i", path});
    command.insert(command.end(), after.begin(), after.end());
    command.insert(command.end(), {"-ar", "48000", "-t", "0.5", "-f", "s16le", "-"});
    const std::string bytes = outputOf(command);
    int passages = 0;
    std::int16_t previous = 0;
    for (std::size_t at = 0; at + 2 <= bytes.size(); at += 2) {
        std::int16_t sample = 0;
        std::memcpy(&sample, &bytes[at], sizeof sample);
        passages += previous < 0 && sample >= 0 ? 1 : 0;
        previous = sample;
    }
    return passages * 48000.0 / (static_cast<double>(bytes.size()) / 2);
}

std::vector<std::string> packetHashes(const std::string& path) {
    return linesOf(outputOf({"ffmpeg", "-v", "error", "-i", path, "-map", "0", "-c", "copy", "-f", "streamhash", "-"}));
}

}  // namespace mediatest
