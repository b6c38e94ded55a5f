#include "mediaconverter/job/WorkerProcess.h"

#include "mediaconverter/job/JobFailure.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace mediaconverter {

namespace {

/// The three descriptors are moved above the places that they are to take in the worker, so that none overwrites
/// another on its way.
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
        // What the application blocks or ignores is no business of the worker's, and a Ctrl-C in a terminal is for
        // the application alone to act on.
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

}  // namespace

WorkerProcess::WorkerProcess(const std::string& program, int source, int output) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw JobFailure::ofSystem(ConversionError::workerMissing, errno);
    }
    report_ = UniqueDescriptor(ends[0]);
    const UniqueDescriptor writeEnd(ends[1]);
    const UniqueDescriptor movedSource = movedUp(source);
    UniqueDescriptor movedOutput = movedUp(output);
    const UniqueDescriptor movedReport = movedUp(writeEnd.get());

    SpawnActions spawn;
    posix_spawn_file_actions_addopen(spawn.actions(), STDIN_FILENO, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_adddup2(spawn.actions(), STDIN_FILENO, STDOUT_FILENO);
#ifndef __SANITIZE_ADDRESS__  // a sanitizer's report must be seen
    posix_spawn_file_actions_adddup2(spawn.actions(), STDIN_FILENO, STDERR_FILENO);
#endif
    posix_spawn_file_actions_adddup2(spawn.actions(), movedSource.get(), descriptor::source);
    posix_spawn_file_actions_adddup2(spawn.actions(), movedOutput.get(), descriptor::output);
    posix_spawn_file_actions_adddup2(spawn.actions(), movedReport.get(), descriptor::report);
    posix_spawn_file_actions_addclosefrom_np(spawn.actions(), descriptor::report + 1);

    std::string name = program;
    std::array<char*, 2> arguments = {name.data(), nullptr};
    const int failed =
        ::posix_spawn(&pid_, program.c_str(), spawn.actions(), spawn.attributes(), arguments.data(), environ);
    if (failed != 0) {
        pid_ = -1;
        throw JobFailure::ofSystem(ConversionError::workerMissing, failed);
    }
    if (!movedOutput.close()) {
        const int number = errno;
        kill();
        wait();
        throw JobFailure::ofSystem(ConversionError::closeFailed, number);
    }
}

WorkerProcess::~WorkerProcess() {
    if (pid_ > 0) {
        kill();
        wait();
    }
}

std::optional<WorkerMessage> WorkerProcess::read() {
    WorkerMessage message;
    auto* const bytes = reinterpret_cast<char*>(&message);
    std::size_t have = 0;
    while (have < sizeof message) {
        const ssize_t got = ::read(report_.get(), bytes + have, sizeof message - have);
        if (got > 0) {
            have += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            return std::nullopt;
        }
    }
    message.text.back() = '\0';
    return message;
}

void WorkerProcess::kill() {
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
    }
}

std::optional<int> WorkerProcess::wait() {
    int status = 0;
    pid_t ended = -1;
    do {
        ended = ::waitpid(pid_, &status, 0);
    } while (ended < 0 && errno == EINTR);
    pid_ = -1;
    return ended < 0 ? std::nullopt : std::optional(status);
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
    // The program's name, in parentheses, may hold anything; the fields after it are plain.
    const char* const behindName = std::strrchr(text.data(), ')');
    return behindName == nullptr ? std::string() : std::string(behindName + 1);
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

std::string workerProgram() {
    Dl_info library = {};
    if (::dladdr(reinterpret_cast<void*>(&workerProgram), &library) == 0 || library.dli_fname == nullptr) {
        throw JobFailure(ConversionError::workerMissing, "the library's own place is unknown");
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
