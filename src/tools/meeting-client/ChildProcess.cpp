#include "tools/meeting-client/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The report that the child sends through the pipe: its process id, then errno if exec has failed.
struct Report {
    pid_t pid = -1;
    int error = 0;
};

std::vector<char*> argumentVector(const std::string& program, const std::vector<std::string>& arguments) {
    std::vector<char*> vector{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        vector.push_back(const_cast<char*>(argument.c_str()));
    }
    vector.push_back(nullptr);
    return vector;
}

void redirect(int descriptor, const char* path, int flags) {
    const int file = open(path, flags | O_CLOEXEC, 0600);
    if (file >= 0) {
        dup2(file, descriptor);
    }
}

// Everything below, up to exec, runs in a child of a process with threads: only async-signal-safe calls are allowed.
[[noreturn]] void execute(const std::vector<char*>& vector, int report) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    const pid_t self = getpid();
    static_cast<void>(!write(report, &self, sizeof self));
    execvp(vector.front(), vector.data());
    const int error = errno;
    static_cast<void>(!write(report, &error, sizeof error));
    _exit(127);
}

Report readReport(int descriptor) {
    Report report;
    if (read(descriptor, &report.pid, sizeof report.pid) != static_cast<ssize_t>(sizeof report.pid)) {
        report = {-1, EAGAIN};
    } else if (read(descriptor, &report.error, sizeof report.error) != static_cast<ssize_t>(sizeof report.error)) {
        report.error = 0;
    }
    close(descriptor);
    return report;
}

pid_t outcome(const Report& report, pid_t child) {
    if (report.error == 0 && report.pid > 0) {
        return report.pid;
    }
    if (child > 0) {
        waitpid(child, nullptr, 0);
    }
    errno = report.error;
    return -1;
}

}  // namespace

pid_t startChild(const std::string& program, const std::vector<std::string>& arguments) {
    const std::vector<char*> vector = argumentVector(program, arguments);
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return -1;
    }
    const pid_t starter = getpid();
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != starter) {
            _exit(127);
        }
        redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
        redirect(STDOUT_FILENO, "/dev/null", O_WRONLY);
        execute(vector, ends[1]);
    }
    close(ends[1]);
    return outcome(readReport(ends[0]), child);
}

pid_t startDetached(const std::string& program, const std::vector<std::string>& arguments, const std::string& log) {
    const std::vector<char*> vector = argumentVector(program, arguments);
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return -1;
    }
    const pid_t between = fork();
    if (between == 0) {
        setsid();
        if (fork() != 0) {
            _exit(0);
        }
        redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
        redirect(STDOUT_FILENO, "/dev/null", O_WRONLY);
        if (!log.empty()) {
            redirect(STDERR_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_APPEND);
        }
        execute(vector, ends[1]);
    }
    close(ends[1]);
    const Report report = readReport(ends[0]);
    if (between > 0) {
        waitpid(between, nullptr, 0);
    }
    return outcome(report, 0);
}
