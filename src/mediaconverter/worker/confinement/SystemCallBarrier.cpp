#include "mediaconverter/OutputLimit.h"
#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/worker/confinement/Barriers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <memory>
#include <sched.h>
#include <seccomp.h>
#include <string>
#include <sys/prctl.h>
#include <system_error>
#include <unistd.h>

namespace worker::barriers {

namespace {

struct ContextDeleter {
    void operator()(void* context) const { seccomp_release(context); }
};

/// Calls for computing, for threads, and for the open descriptors. newfstatat, which some C libraries use for fstat(),
/// is not among them: a filter cannot see the name that it is given. The worker uses statOf().
constexpr std::array allowed = {
    // the descriptors
    SCMP_SYS(read), SCMP_SYS(write), SCMP_SYS(pread64), SCMP_SYS(pwrite64), SCMP_SYS(lseek), SCMP_SYS(fstat),
    SCMP_SYS(fstatfs), SCMP_SYS(ftruncate), SCMP_SYS(sync_file_range), SCMP_SYS(fadvise64), SCMP_SYS(close),
    // memory
    SCMP_SYS(mmap), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(mprotect), SCMP_SYS(madvise), SCMP_SYS(brk),
    // threads
    SCMP_SYS(futex), SCMP_SYS(set_robust_list), SCMP_SYS(rseq), SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity),
    SCMP_SYS(gettid), SCMP_SYS(getpid), SCMP_SYS(exit), SCMP_SYS(exit_group), SCMP_SYS(membarrier),
    // signals to itself: abort() and return from a handler
    SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigreturn), SCMP_SYS(sigaltstack),
    SCMP_SYS(restart_syscall),
    // time and random numbers
    SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres), SCMP_SYS(gettimeofday), SCMP_SYS(nanosleep),
    SCMP_SYS(clock_nanosleep), SCMP_SYS(getrandom), SCMP_SYS(getrusage), SCMP_SYS(sysinfo)};

/// The most room that the index in front of the data can need, in bytes: some ten million packets.
constexpr std::uint64_t mostIndex = std::uint64_t{1} << 30U;

/// A condition on a call's argument. The library's macros for it are compound literals, which C++ does not have.
scmp_arg_cmp argument(unsigned number, scmp_compare comparison, scmp_datum_t first, scmp_datum_t second = 0) {
    return {number, comparison, first, second};
}

/// Room for the output, and for the index in front of it. The limit on the file size does not apply to these calls.
int allowReserving(scmp_filter_ctx context, std::uint64_t mostOutput) {
    const auto allow = [&](int mode, std::uint64_t most) {
        return seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(fallocate), 4,
                                argument(0, SCMP_CMP_EQ, static_cast<scmp_datum_t>(mediaconverter::descriptor::output)),
                                argument(1, SCMP_CMP_EQ, static_cast<scmp_datum_t>(mode)), argument(2, SCMP_CMP_EQ, 0),
                                argument(3, SCMP_CMP_LE, most));
    };
    const int result = allow(FALLOC_FL_KEEP_SIZE, mostOutput);
    return result == 0 ? allow(FALLOC_FL_INSERT_RANGE, std::min(mostOutput, mostIndex)) : result;
}

/// The source's bytes may be moved into the output, shared or copied, and nowhere else.
int allowMoving(scmp_filter_ctx context) {
    constexpr auto source = static_cast<scmp_datum_t>(mediaconverter::descriptor::source);
    constexpr auto output = static_cast<scmp_datum_t>(mediaconverter::descriptor::output);
    const int result = seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(ioctl), 2, argument(0, SCMP_CMP_EQ, output),
                                        argument(1, SCMP_CMP_EQ, FICLONERANGE));
    return result == 0 ? seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(copy_file_range), 2,
                                          argument(0, SCMP_CMP_EQ, source), argument(2, SCMP_CMP_EQ, output))
                       : result;
}

int addRules(scmp_filter_ctx context, std::uint64_t mostOutput) {
    int result = 0;
    const auto keep = [&result](int step) { result = result == 0 ? step : result; };
    for (const int call : allowed) {
        keep(seccomp_rule_add(context, SCMP_ACT_ALLOW, call, 0));
    }
    keep(allowReserving(context, mostOutput));
    keep(allowMoving(context));
    // Threads, not processes. The newer call hides its flags from the filter; if it is refused, the older one is used.
    keep(seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(clone), 1,
                          argument(0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD)));
    keep(seccomp_rule_add(context, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0));
    // A program that detects an internal error aborts itself.
    keep(seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(tgkill), 1,
                          argument(0, SCMP_CMP_EQ, static_cast<scmp_datum_t>(::getpid()))));
    // Names of threads, and limits, which may be read but not set.
    keep(seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(prctl), 1, argument(0, SCMP_CMP_EQ, PR_SET_NAME)));
    keep(seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(prlimit64), 1, argument(2, SCMP_CMP_EQ, 0)));
    return result;
}

}  // namespace

void closeSystemCalls(Reporter& reporter, std::int64_t sourceSize) {
    const std::unique_ptr<void, ContextDeleter> context(seccomp_init(SCMP_ACT_ERRNO(EPERM)));
    const int result = context ? addRules(context.get(), mediaconverter::outputLimit(sourceSize)) : -ENOMEM;
    const int loaded = result == 0 ? seccomp_load(context.get()) : result;
    if (loaded != 0) {
        reporter.note("system calls could not be limited (seccomp): " + std::generic_category().message(-loaded));
    }
}

}  // namespace worker::barriers
