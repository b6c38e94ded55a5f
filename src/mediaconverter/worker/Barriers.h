#pragma once

#include "mediaconverter/worker/Reporter.h"

#include <cstdint>

namespace worker::barriers {

// What the worker gives up before it looks at a recording. A barrier that the kernel does not have is said in the log
// and done without: the recording's owner wants it converted.

/// Dies with the thread that started the worker; ends at once when that has gone already. First of all.
void bindToParent(int reportDescriptor);

/// Low priority for processor and disk; limits on memory, descriptors and the size of the output, which may be some
/// multiple of the source's `sourceSize` bytes; no core files.
void limitResources(Reporter& reporter, std::int64_t sourceSize);

/// No new privileges, no opening of any file, no network (Landlock). What is open already stays usable.
void closeFileSystem(Reporter& reporter);

/// Only the system calls that computing, threads and the open descriptors need (seccomp); all others fail with EPERM.
/// No processes are started and no programs run from here on.
void closeSystemCalls(Reporter& reporter);

}  // namespace worker::barriers
