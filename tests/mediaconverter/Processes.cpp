#include "mediaconverter/Processes.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace mediatest {

Process::Process(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& word : command) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    // A shell makes its background jobs ignore SIGINT, which the program would inherit.
    sigset_t ending;
    sigemptyset(&ending);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&ending, number);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &ending);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    const int failed = ::posix_spawnp(&id_, arguments[0], &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) {
        throw std::runtime_error("cannot start " + command.front());
    }
}

Process::~Process() {
    signal(SIGKILL);
    wait();
}

void Process::signal(int number) const {
    if (!status_) {
        ::kill(id_, number);
    }
}

int Process::wait() {
    if (!status_) {
        int status = 0;
        while (::waitpid(id_, &status, 0) < 0 && errno == EINTR) {
        }
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return *status_;
}

std::optional<pid_t> workerOf(pid_t parent) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        const auto process = static_cast<pid_t>(std::stol(name));
        if (statusLine(process, "PPid") == std::to_string(parent) &&
            statusLine(process, "Name").starts_with("mediaconverter-")) {
            return process;
        }
    }
    return std::nullopt;
}

std::string statusLine(pid_t process, const std::string& name) {
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name + ":")) {
            const auto start = line.find_first_not_of(" \t", name.size() + 1);
            return start == std::string::npos ? std::string() : line.substr(start);
        }
    }
    return {};
}

bool waitUntilGone(pid_t process) {
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const std::string state = statusLine(process, "State");
        if (state.empty() || state.starts_with('Z')) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

bool hasChild() {
    return ::waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD;
}

}  // namespace mediatest
