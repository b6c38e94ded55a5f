#pragma once

#include "mediaconverter/worker/Reporter.h"

#include <cstdint>

namespace worker::barriers {

// The rights that the worker gives up before it looks at a recording. If the kernel lacks a barrier, the log says so
// and the worker goes on without it, because the recording's owner wants it converted.

/// Dies with the thread that started the worker; ends at once if that thread has already gone. Call this first.
void bindToParent(int reportDescriptor);

/// Low priority for processor and disk; limits on memory, descriptors and the size of the output, which is
/// mediaconverter::outputLimit() of the source's `sourceSize` bytes; no core files.
void limitResources(Reporter& reporter, std::int64_t sourceSize);

/// A limit on threads, through a user namespace of the worker's own, in which no other threads are counted. The kernel
/// exempts the superuser. Call while single-threaded.
void limitThreads(Reporter& reporter);

/// No new privileges, no opening of files, no network (Landlock). Open descriptors stay usable.
void closeFileSystem(Reporter& reporter);

/// Allows only the system calls that computing, threads and the open descriptors need (seccomp); all others fail with
/// EPERM. From here on no process can be started and no program run. Each reservation of room is limited to what the
/// output may take; the number of insertions cannot be limited here.
void closeSystemCalls(Reporter& reporter, std::int64_t sourceSize);

}  // namespace worker::barriers
