#include "mediaconverter/worker/confinement/Barriers.h"

#include "mediaconverter/OutputLimit.h"
#include "mediaconverter/WorkerMessage.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <sched.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace worker::barriers {

namespace {

/// Address space, including libraries: enough for the largest possible frames, too little to harm a desktop.
constexpr rlim_t mostMemory = rlim_t{4} << 30U;

/// The decoders and encoders of all tracks together use fewer.
constexpr rlim_t mostThreads = 64;

// The kernel interface has no header for these constants.
constexpr int ioprioWhoProcess = 1;
constexpr int ioprioBestEffortLowest = 2 << 13 | 7;

std::string systemText(int number) {
    return std::generic_category().message(number);
}

void limit(Reporter& reporter, __rlimit_resource resource, rlim_t value, const char* name) {
    rlimit present = {};
    ::getrlimit(resource, &present);
    const rlim_t lowered = std::min(present.rlim_cur, value);
    const rlimit wanted = {lowered, lowered};
    if (::setrlimit(resource, &wanted) != 0) {
        reporter.note(std::string("the limit of ") + name + " could not be set: " + systemText(errno));
    }
}

/// The kernel's structure as of its sixth version; older kernels get the part of it that they know.
struct LandlockRules {
    std::uint64_t files;
    std::uint64_t network;
    std::uint64_t scopes;
};

struct LandlockVersion {
    std::size_t structureSize;
    LandlockRules all;
};

/// Everything that a version of Landlock can forbid.
LandlockVersion landlockVersion(long version) {
    constexpr std::array<unsigned, 5> fileRights = {13, 14, 15, 15, 16};
    const auto index = static_cast<std::size_t>(std::clamp(version, 1L, 5L)) - 1;
    LandlockVersion known = {sizeof(std::uint64_t), {(std::uint64_t{1} << fileRights[index]) - 1, 0, 0}};
    if (version >= 4) {
        known.structureSize = 2 * sizeof(std::uint64_t);
        known.all.network = 3;  // binding and connecting
    }
    if (version >= 6) {
        known.structureSize = sizeof(LandlockRules);
        known.all.scopes = 3;  // abstract sockets, signals to others
    }
    return known;
}

}  // namespace

void bindToParent(int reportDescriptor) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    pollfd pipe = {reportDescriptor, 0, 0};
    if (::poll(&pipe, 1, 0) > 0 && (pipe.revents & POLLERR) != 0) {
        ::_exit(EXIT_FAILURE);
    }
}

void limitThreads(Reporter& reporter) {
    // The limit counts all processes of the user; in a namespace it counts only those inside.
    if (::unshare(CLONE_NEWUSER) != 0) {
        reporter.note("threads cannot be limited (user namespaces): " + systemText(errno));
        return;
    }
    limit(reporter, RLIMIT_NPROC, mostThreads, "threads");
}

void limitResources(Reporter& reporter, std::int64_t sourceSize) {
    // The failing call itself reports a broken pipe or a file size limit, and it knows what it was doing.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    // Relative to the converter's own priority, never above it.
    [[maybe_unused]] const int priority = ::nice(10);
    ::syscall(SYS_ioprio_set, ioprioWhoProcess, 0, ioprioBestEffortLowest);
    limit(reporter, RLIMIT_CORE, 0, "core files");
    limit(reporter, RLIMIT_FSIZE, mediaconverter::outputLimit(sourceSize), "the file size");
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // these need the whole address space
    limit(reporter, RLIMIT_NOFILE, mediaconverter::descriptor::report + 1, "open files");
    limit(reporter, RLIMIT_AS, mostMemory, "memory");
#endif
}

void closeFileSystem(Reporter& reporter) {
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    constexpr unsigned askVersion = 1;
    const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, askVersion);
    if (version < 1) {
        reporter.note("this kernel cannot close the file system to a program (Landlock): " + systemText(errno));
        return;
    }
    const LandlockVersion known = landlockVersion(version);
    const auto rules = static_cast<int>(::syscall(SYS_landlock_create_ruleset, &known.all, known.structureSize, 0));
    if (rules < 0 || ::syscall(SYS_landlock_restrict_self, rules, 0) != 0) {
        reporter.note("the file system could not be closed (Landlock): " + systemText(errno));
    }
    if (rules >= 0) {
        ::close(rules);
    }
}

}  // namespace worker::barriers
