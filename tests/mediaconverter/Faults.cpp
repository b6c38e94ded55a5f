// A library to preload: lets the n-th call of one function fail, in the converting process or in its worker.
//   FAULT=who:call:n:errno[:all]   who is "library" or "worker", "all" lets every call from the n-th on fail
//   FAULT_HIT=path                 a file that gets a byte for every fault that has happened
//   FLIP=bit                       the bit of the worker's file that is flipped whenever the file gets its final size
//   CLOCK_BACK=1                   the time of day goes back by an hour with every look at it
//   NO_UNNAMED_FILES=1, NO_RENAME_NOREPLACE=1, NO_LINKS=1   a file system without them
// Only calls on regular files and pipes that the conversion itself makes are counted. The worker is given none of these
// variables; it looks for them in its parent's environment.

// With it the C library defines read, pread and poll inline, which leaves no room for the definitions here.
#undef _FORTIFY_SOURCE

#include "mediaconverter/NextFunction.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#define INTERPOSE extern "C" __attribute__((visibility("default")))

namespace {

using mediaconverter::nextFunction;

struct Fault {
    char call[32] = {};
    long number = 0;
    int error = 0;
    bool all = false;
    int hit = -1;
    std::atomic<long> count{0};
};

Fault fault;

bool isWorker = false;
bool clockGoesBack = false;
long flippedBit = -1;
char environmentOfParent[65536];

void readEnvironmentOfParent() {
    char path[32] = {};
    static_cast<void>(std::snprintf(path, sizeof path, "/proc/%d/environ", static_cast<int>(::getppid())));
    const auto file = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, O_RDONLY));
    static_cast<void>(::syscall(SYS_read, file, environmentOfParent, sizeof environmentOfParent - 2));
    ::syscall(SYS_close, file);
}

const char* setting(const char* name) {
    const std::size_t length = std::strlen(name);
    for (const char* entry = environmentOfParent; isWorker && *entry != '\0'; entry += std::strlen(entry) + 1) {
        if (std::strncmp(entry, name, length) == 0 && entry[length] == '=') {
            return entry + length + 1;
        }
    }
    return std::getenv(name);
}

__attribute__((constructor)) void readFault() {
    isWorker = std::strstr(program_invocation_short_name, "worker") != nullptr;
    if (isWorker) {
        readEnvironmentOfParent();
    }
    clockGoesBack = setting("CLOCK_BACK") != nullptr;
    const char* const flip = setting("FLIP");
    flippedBit = isWorker && flip != nullptr ? std::strtol(flip, nullptr, 10) : -1;
    const char* const text = setting("FAULT");
    if (text == nullptr) {
        return;
    }
    const bool isOther = std::strcmp(program_invocation_short_name, "convert-one") != 0;
    const char* const wanted = isWorker ? "worker:" : isOther ? "nobody:" : "library:";
    if (std::strncmp(text, wanted, std::strlen(wanted)) != 0) {
        return;
    }
    const char* const call = text + std::strlen(wanted);
    const char* const end = std::strchr(call, ':');
    std::memcpy(fault.call, call, static_cast<std::size_t>(end - call));
    char* rest = nullptr;
    fault.number = std::strtol(end + 1, &rest, 10);
    fault.error = static_cast<int>(std::strtol(rest + 1, &rest, 10));
    fault.all = *rest == ':';
    // Opened now, because the worker may open nothing later. The number is beyond those it uses.
    if (const char* const path = setting("FAULT_HIT"); path != nullptr) {
        const auto made = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, O_CREAT | O_WRONLY, 0600));
        fault.hit = static_cast<int>(::syscall(SYS_fcntl, made, F_DUPFD_CLOEXEC, 900));
        ::syscall(SYS_close, made);
    }
}

/// Whether this call is the one that must fail; sets errno.
bool strikes(const char* call) {
    if (fault.number == 0 || std::strcmp(call, fault.call) != 0) {
        return false;
    }
    const long count = ++fault.count;
    if (count != fault.number && !(fault.all && count > fault.number)) {
        return false;
    }
    if (fault.hit >= 0) {
        ::syscall(SYS_write, fault.hit, "x", 1);
    }
    errno = fault.error;
    return true;
}

void flipBit(int descriptor) {
    unsigned char byte = 0;
    ::syscall(SYS_pread64, descriptor, &byte, 1, flippedBit / 8);
    byte = static_cast<unsigned char>(byte ^ 1U << flippedBit % 8);
    ::syscall(SYS_pwrite64, descriptor, &byte, 1, flippedBit / 8);
}

// The allocator's: the C library's, or in the worker that of its own allocator.
std::atomic<void* (*)(std::size_t)> nextMalloc{nullptr};
std::atomic<int (*)(void**, std::size_t, std::size_t)> nextAligned{nullptr};
std::atomic<void* (*)(void*, std::size_t)> nextRealloc{nullptr};

/// Seconds to subtract from the time of day at this call.
time_t setBack() {
    static std::atomic<time_t> hours{0};
    return clockGoesBack ? 3600 * ++hours : 0;
}

bool isWrittenFile(int descriptor) {
    struct stat status = {};
    const int flags = ::fcntl(descriptor, F_GETFL);
    return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY && ::syscall(SYS_fstat, descriptor, &status) == 0 &&
           S_ISREG(status.st_mode);
}

}  // namespace

INTERPOSE ssize_t pread(int descriptor, void* bytes, size_t length, off_t position) {
    if (strikes("pread")) {
        return -1;
    }
    return ::syscall(SYS_pread64, descriptor, bytes, length, position);
}

INTERPOSE ssize_t pwrite(int descriptor, const void* bytes, size_t length, off_t position) {
    if (strikes("pwrite")) {
        return -1;
    }
    return ::syscall(SYS_pwrite64, descriptor, bytes, length, position);
}

INTERPOSE ssize_t read(int descriptor, void* bytes, size_t length) {
    return strikes("read") ? -1 : ::syscall(SYS_read, descriptor, bytes, length);
}

INTERPOSE int poll(pollfd* descriptors, nfds_t count, int milliseconds) {
    return strikes("poll") ? -1 : static_cast<int>(::syscall(SYS_poll, descriptors, count, milliseconds));
}

INTERPOSE pid_t wait4(pid_t process, int* status, int options, rusage* usage) {
    return strikes("wait4") ? -1 : static_cast<pid_t>(::syscall(SYS_wait4, process, status, options, usage));
}

INTERPOSE int ftruncate(int descriptor, off_t length) noexcept {
    if (strikes("ftruncate")) {
        return -1;
    }
    const auto result = static_cast<int>(::syscall(SYS_ftruncate, descriptor, length));
    if (flippedBit >= 0 && flippedBit / 8 < length) {
        flipBit(descriptor);
    }
    return result;
}

INTERPOSE int fallocate(int descriptor, int mode, off_t position, off_t length) {
    if (std::strcmp(fault.call, "insert") == 0 && (mode & 0x20) != 0 && strikes("insert")) {
        return -1;
    }
    return strikes("fallocate") ? -1 : static_cast<int>(::syscall(SYS_fallocate, descriptor, mode, position, length));
}

INTERPOSE ssize_t copy_file_range(int from, off64_t* fromPosition, int to, off64_t* toPosition, size_t length,
                                  unsigned flags) {
    return strikes("copy_file_range")
               ? -1
               : ::syscall(SYS_copy_file_range, from, fromPosition, to, toPosition, length, flags);
}

INTERPOSE int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list list;
    va_start(list, request);
    void* const argument = va_arg(list, void*);
    va_end(list);
    return strikes("ioctl") ? -1 : static_cast<int>(::syscall(SYS_ioctl, descriptor, request, argument));
}

INTERPOSE int fsync(int descriptor) {
    return strikes("fsync") ? -1 : static_cast<int>(::syscall(SYS_fsync, descriptor));
}

INTERPOSE int close(int descriptor) {
    if (std::strcmp(fault.call, "close") == 0 && isWrittenFile(descriptor) && strikes("close")) {
        ::syscall(SYS_close, descriptor);
        errno = fault.error;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_close, descriptor));
}

INTERPOSE int linkat(int from, const char* name, int to, const char* target, int flags) noexcept {
    if (setting("NO_LINKS") != nullptr) {
        errno = EPERM;
        return -1;
    }
    return strikes("linkat") ? -1 : static_cast<int>(::syscall(SYS_linkat, from, name, to, target, flags));
}

INTERPOSE int renameat2(int from, const char* name, int to, const char* target, unsigned flags) noexcept {
    // A separate switch, to simulate a file system that has neither.
    if (setting("NO_RENAME_NOREPLACE") != nullptr && flags != 0) {
        errno = EINVAL;
        return -1;
    }
    return strikes("renameat2") ? -1 : static_cast<int>(::syscall(SYS_renameat2, from, name, to, target, flags));
}

INTERPOSE int openat(int folder, const char* name, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    if (setting("NO_UNNAMED_FILES") != nullptr && (flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    if ((flags & (O_CREAT | O_TMPFILE)) != 0 && strikes("openat")) {
        return -1;
    }
    return static_cast<int>(::syscall(SYS_openat, folder, name, flags, mode));
}

INTERPOSE int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto result = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    if (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE) {
        time->tv_sec -= setBack();
    }
    return result;
}

INTERPOSE int gettimeofday(timeval* time, void*) noexcept {
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

INTERPOSE time_t time(time_t* result) noexcept {
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}

INTERPOSE void* malloc(size_t size) {
    if (fault.number != 0 && strikes("malloc")) {
        return nullptr;
    }
    return nextFunction(nextMalloc, "malloc")(size);
}

INTERPOSE int posix_memalign(void** result, size_t alignment, size_t size) noexcept {
    if (fault.number != 0 && strikes("malloc")) {
        return ENOMEM;
    }
    return nextFunction(nextAligned, "posix_memalign")(result, alignment, size);
}

INTERPOSE void* realloc(void* block, size_t size) {
    if (fault.number != 0 && strikes("malloc")) {
        return nullptr;
    }
    return nextFunction(nextRealloc, "realloc")(block, size);
}
