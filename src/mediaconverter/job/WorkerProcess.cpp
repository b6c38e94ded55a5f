#include "mediaconverter/job/WorkerProcess.h"

#include "mediaconverter/job/JobFailure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <string_view>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <vector>

namespace mediaconverter {

namespace {

/// The three descriptors are moved above their target numbers in the worker, so that none overwrites another.
UniqueDescriptor movedUp(int descriptor) {
    UniqueDescriptor copy(::fcntl(descriptor, F_DUPFD_CLOEXEC, descriptor::report + 1));
    if (!copy) {
        throw JobFailure::ofSystem(ConversionError::workerMissing, errno);
    }
    return copy;
}

class SpawnActions {
public:
    SpawnActions() {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        // The worker must not inherit which signals the application blocks or ignores, and only the application handles
        // a Ctrl-C in a terminal.
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }
    ~SpawnActions() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    posix_spawn_file_actions_t* actions() { return &actions_; }
    posix_spawnattr_t* attributes() { return &attributes_; }

private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

/// The variables that the worker's loader and a sanitizer's runtime read. The others concern the user and are of no use
/// to a program that reads untrusted files.
std::vector<char*> workerEnvironment() {
    std::vector<char*> kept;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        const std::string_view name = text.substr(0, text.find('='));
        if (name.starts_with("LD_") || name.ends_with("SAN_OPTIONS")) {
            kept.push_back(*entry);
        }
    }
    kept.push_back(nullptr);
    return kept;
}

/// Killed workers that hang in a file system. Nothing waits for them; they are reaped when the next one starts.
class Unreaped {
public:
    static void add(pid_t process) {
        const std::lock_guard lock(mutex);
        *std::find(processes.begin(), processes.end() - 1, 0) = process;
    }

    static void reap() {
        const std::lock_guard lock(mutex);
        for (pid_t& process : processes) {
            if (process != 0 && ::waitpid(process, nullptr, WNOHANG) != 0) {
                process = 0;
            }
        }
    }

private:
    static inline std::mutex mutex;
    static inline std::array<pid_t, 16> processes{};
};

/// How long the destructor waits for a killed worker.
constexpr int mostKillMilliseconds = 5000;

/// Between the warning about the limit on processor time and its enforcement.
constexpr rlim_t graceSeconds = 5;

}  // namespace

WorkerProcess::WorkerProcess(const std::string& program, const SourceFile& source, int output) {
    Unreaped::reap();
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw JobFailure::ofSystem(ConversionError::workerMissing, errno);
    }
    report_ = UniqueDescriptor(ends[0]);
    const UniqueDescriptor writeEnd(ends[1]);
    // The worker's end of the pipe blocks when the pipe is full.
    static_cast<void>(::fcntl(writeEnd.get(), F_SETFL, 0));
    const UniqueDescriptor movedSource = movedUp(source.descriptor());
    UniqueDescriptor movedOutput = movedUp(output);
    const UniqueDescriptor movedReport = movedUp(writeEnd.get());
    start(program, movedSource.get(), movedOutput.get(), movedReport.get());
    end_ = UniqueDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
    limitProcessorTime(processorBudget(source.status().st_size));
    if (!movedOutput.close()) {
        const int number = errno;
        end();
        throw JobFailure::ofSystem(ConversionError::closeFailed, number);
    }
}

void WorkerProcess::start(const std::string& program, int source, int output, int report) {
    SpawnActions spawn;
    posix_spawn_file_actions_addopen(spawn.actions(), STDIN_FILENO, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_adddup2(spawn.actions(), STDIN_FILENO, STDOUT_FILENO);
#ifndef __SANITIZE_ADDRESS__  // a sanitizer's report must stay visible
    posix_spawn_file_actions_adddup2(spawn.actions(), STDIN_FILENO, STDERR_FILENO);
#endif
    posix_spawn_file_actions_adddup2(spawn.actions(), source, descriptor::source);
    posix_spawn_file_actions_adddup2(spawn.actions(), output, descriptor::output);
    posix_spawn_file_actions_adddup2(spawn.actions(), report, descriptor::report);
    posix_spawn_file_actions_addclosefrom_np(spawn.actions(), descriptor::report + 1);

    std::string name = program;
    std::array<char*, 2> arguments = {name.data(), nullptr};
    std::vector<char*> environment = workerEnvironment();
    pid_t process = -1;
    const int failed = ::posix_spawn(&process, program.c_str(), spawn.actions(), spawn.attributes(), arguments.data(),
                                     environment.data());
    if (failed != 0) {
        throw JobFailure::ofSystem(ConversionError::workerMissing, failed);
    }
    pid_ = process;
}

void WorkerProcess::limitProcessorTime(rlim_t seconds) {
    rlimit limit = {};
    ::getrlimit(RLIMIT_CPU, &limit);
    limit.rlim_cur = std::min(limit.rlim_cur, seconds);
    limit.rlim_max = std::min(limit.rlim_max, limit.rlim_cur + graceSeconds);
    if (::prlimit(pid_, RLIMIT_CPU, &limit, nullptr) == 0) {
        processorSeconds_ = limit.rlim_cur;
    }
}

WorkerProcess::~WorkerProcess() {
    end();
}

void WorkerProcess::end() {
    if (pid_ <= 0) {
        return;
    }
    ::kill(pid_, SIGKILL);
    pollfd ended = {end_.get(), POLLIN, 0};
    for (int waited = 0; waited < mostKillMilliseconds && pid_ > 0; waited += 100) {
        static_cast<void>(::poll(&ended, 1, 100));
        static_cast<void>(tryWait());
    }
    if (pid_ > 0) {
        Unreaped::add(pid_);
    }
}

std::optional<WorkerMessage> WorkerProcess::tryRead() {
    auto* const bytes = reinterpret_cast<char*>(&message_);
    while (have_ < sizeof message_) {
        const ssize_t got = ::read(report_.get(), bytes + have_, sizeof message_ - have_);
        if (got > 0) {
            have_ += static_cast<std::size_t>(got);
        } else if (got == 0) {
            closed_ = true;
            return std::nullopt;
        } else if (errno != EINTR) {
            closed_ = errno != EAGAIN;
            return std::nullopt;
        }
    }
    have_ = 0;
    message_.text.back() = '\0';
    return message_;
}

std::optional<WorkerEnd> WorkerProcess::tryWait() {
    WorkerEnd end;
    int status = 0;
    rusage usage = {};
    pid_t ended = -1;
    do {
        ended = ::wait4(pid_, &status, WNOHANG, &usage);
    } while (ended < 0 && errno == EINTR);
    if (ended == 0) {
        return std::nullopt;
    }
    if (ended > 0) {
        end.status = status;
        end.processorSeconds = static_cast<rlim_t>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
                                                   (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1'000'000);
    }
    pid_ = -1;
    return end;
}

bool WorkerProcess::isOverBudget(const WorkerEnd& end) const {
    // A worker that ignored the warning was killed some seconds later.
    const int signal = end.status && WIFSIGNALED(*end.status) ? WTERMSIG(*end.status) : 0;
    return signal == SIGXCPU || (signal == SIGKILL && end.processorSeconds + 1 >= processorSeconds_);
}

std::string WorkerProcess::statusFields() const {
    char path[64];
    static_cast<void>(std::snprintf(path, sizeof path, "/proc/%d/stat", static_cast<int>(pid_)));
    const UniqueDescriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    std::array<char, 1024> text{};
    const ssize_t length = file ? ::read(file.get(), text.data(), text.size() - 1) : -1;
    if (length <= 0) {
        return {};
    }
    // The program's name, in parentheses, may contain anything; the fields after it are plain.
    const char* const afterName = std::strrchr(text.data(), ')');
    return afterName == nullptr ? std::string() : std::string(afterName + 1);
}

std::optional<std::uint64_t> WorkerProcess::processorTime() const {
    std::istringstream fields(statusFields());
    std::string skipped;
    for (int field = 3; field < 14; ++field) {
        fields >> skipped;
    }
    std::uint64_t user = 0;
    std::uint64_t kernel = 0;
    fields >> user >> kernel;
    return fields ? std::optional(user + kernel) : std::nullopt;
}

bool WorkerProcess::waitsForDisk() const {
    std::istringstream fields(statusFields());
    char state = '?';
    fields >> state;
    return state == 'D';
}

rlim_t processorBudget(std::int64_t size) {
    constexpr rlim_t anyRecording = 600;
    constexpr std::int64_t bytesPerSecond = 1000;
    return anyRecording + static_cast<rlim_t>(std::max<std::int64_t>(size, 0) / bytesPerSecond);
}

std::string workerProgram() {
    Dl_info library = {};
    if (::dladdr(reinterpret_cast<void*>(&workerProgram), &library) == 0 || library.dli_fname == nullptr) {
        throw JobFailure(ConversionError::workerMissing, "the location of the library is unknown");
    }
    char* const real = ::realpath(library.dli_fname, nullptr);
    if (real == nullptr) {
        throw JobFailure::ofSystem(ConversionError::workerMissing, errno);
    }
    std::string path(real);
    std::free(real);
    for (int level = 0; level < 2; ++level) {
        path.erase(path.rfind('/') == std::string::npos ? 0 : path.rfind('/'));
    }
    return path + "/libexec/mediaconverter-worker";
}

}  // namespace mediaconverter
