#include "mediaconverter/worker/Barriers.h"

#include "mediaconverter/WorkerMessage.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>

namespace worker::barriers {

namespace {

/// Address space, libraries included: enough for the largest pictures there are, too little to harm a desktop.
constexpr rlim_t mostMemory = rlim_t{4} << 30U;

// The kernel's interface has no header for these.
constexpr int ioprioWhoProcess = 1;
constexpr int ioprioBestEffortLowest = 2 << 13 | 7;

void limit(Reporter& reporter, __rlimit_resource resource, rlim_t value, const char* name) {
    rlimit present = {};
    ::getrlimit(resource, &present);
    const rlim_t lowered = present.rlim_max < value ? present.rlim_max : value;
    const rlimit wanted = {lowered, lowered};
    if (::setrlimit(resource, &wanted) != 0) {
        reporter.note(std::string("the limit of ") + name +
                      " could not be set: " + std::generic_category().message(errno));
    }
}

}  // namespace

void bindToParent(int reportDescriptor) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    pollfd pipe = {reportDescriptor, 0, 0};
    if (::poll(&pipe, 1, 0) > 0 && (pipe.revents & POLLERR) != 0) {
        ::_exit(EXIT_FAILURE);
    }
}

void limitResources(Reporter& reporter) {
    // A broken pipe and a file size limit are told by the failing call, which knows what it was doing.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ::setpriority(PRIO_PROCESS, 0, 10);
    ::syscall(SYS_ioprio_set, ioprioWhoProcess, 0, ioprioBestEffortLowest);
    limit(reporter, RLIMIT_CORE, 0, "core files");
    limit(reporter, RLIMIT_NOFILE, mediaconverter::descriptor::report + 1, "open files");
#ifndef __SANITIZE_ADDRESS__  // its shadow memory takes all the address space there is
#ifndef __SANITIZE_THREAD__
    limit(reporter, RLIMIT_AS, mostMemory, "memory");
#endif
#endif
}

}  // namespace worker::barriers
