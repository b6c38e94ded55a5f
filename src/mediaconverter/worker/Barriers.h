#pragma once

#include "mediaconverter/worker/Reporter.h"

#include <cstdint>

namespace worker::barriers {

// What the worker gives up before it looks at a recording. A barrier that the kernel does not have is said in the log
// and done without: the recording's owner wants it converted.

/// Dies with the thread that started the worker; ends at once when that has gone already. First of all.
void bindToParent(int reportDescriptor);

/// Low priority for processor and disk; limits on memory, descriptors and the size of the output,
/// mediaconverter::outputLimit() of the source's `sourceSize` bytes; no core files.
void limitResources(Reporter& reporter, std::int64_t sourceSize);

/// A limit on threads, by a user namespace of the worker's own, in which no others are counted. The kernel exempts the
/// superuser. Single-threaded.
void limitThreads(Reporter& reporter);

/// No new privileges, no opening of any file, no network (Landlock). What is open already stays usable.
void closeFileSystem(Reporter& reporter);

/// Only the system calls that computing, threads and the open descriptors need (seccomp); all others fail with EPERM.
/// No processes are started and no programs run from here on. No more room is reserved at a time than the output
/// may take; how often room is inserted can't be counted here.
void closeSystemCalls(Reporter& reporter, std::int64_t sourceSize);

}  // namespace worker::barriers
