#pragma once

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace worker {

/// Calls the system call fstat, which inspects an open descriptor and nothing else. The C library may use a call that
/// also takes a name, which the worker's barrier refuses.
inline int statOf(int descriptor, struct stat& status) {
    return static_cast<int>(::syscall(SYS_fstat, descriptor, &status));
}

}  // namespace worker
