#include "Child.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

Child::Child(const std::vector<std::string>& command) {
    pid_ = ::fork();
    if (pid_ < 0) {
        throw std::runtime_error("can't fork");
    }
    if (pid_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        const int nothing = ::open("/dev/null", O_RDWR);
        ::dup2(nothing, STDIN_FILENO);
        ::dup2(nothing, STDOUT_FILENO);
        ::dup2(nothing, STDERR_FILENO);
        std::vector<char*> arguments;
        for (const auto& each : command) {
            arguments.push_back(const_cast<char*>(each.c_str()));
        }
        arguments.push_back(nullptr);
        ::execvp(arguments.front(), arguments.data());
        ::_exit(127);
    }
}

Child::~Child() {
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        wait();
    }
}

bool Child::isRunning() {
    if (pid_ > 0 && ::waitpid(pid_, nullptr, WNOHANG) == pid_) {
        pid_ = -1;
    }
    return pid_ > 0;
}

void Child::end() {
    if (pid_ > 0) {
        ::kill(pid_, SIGTERM);
        wait();
    }
}

void Child::wait() {
    if (pid_ > 0) {
        ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
}

double Child::privateKiB() const {
    return sumOfPages({"Private_Clean:", "Private_Dirty:"});
}

double Child::writtenKiB() const {
    return sumOfPages({"Private_Dirty:", "Swap:"});
}

double Child::sumOfPages(const std::set<std::string>& kinds) const {
    std::ifstream rollup("/proc/" + std::to_string(pid_) + "/smaps_rollup");
    std::string line;
    double sum = 0;
    while (std::getline(rollup, line)) {
        std::istringstream fields(line);
        std::string kind;
        double kibibytes = 0;
        fields >> kind >> kibibytes;
        if (kinds.contains(kind)) {
            sum += kibibytes;
        }
    }
    return sum;
}

Child::Activity Child::activity() const {
    Activity result;
    const std::filesystem::path tasks = "/proc/" + std::to_string(pid_) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks)) {
        std::ifstream status(task.path() / "status");
        std::string line;
        while (std::getline(status, line)) {
            if (line.rfind("voluntary_ctxt_switches:", 0) == 0) {
                result.wakeUps += std::stoul(line.substr(line.find(':') + 1));
            }
        }
        std::ifstream schedule(task.path() / "schedstat");
        double nanoseconds = 0;
        schedule >> nanoseconds;
        result.cpuSeconds += nanoseconds * 1e-9;
    }
    return result;
}

double cpuSecondsOfEndedChildren() {
    struct rusage usage {};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace bench
