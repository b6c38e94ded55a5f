#pragma once

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace worker {

/// fstat() by the system call of that name, which looks at an open descriptor and nothing else. The C library may use
/// one that takes a name as well, which the worker's barrier refuses.
inline int statOf(int descriptor, struct stat& status) {
    return static_cast<int>(::syscall(SYS_fstat, descriptor, &status));
}

}  // namespace worker
