#pragma once

namespace platform {

/// Sets the allocator up for a process that waits most of its life. Every block of 64 KiB and more goes back to the
/// system the moment it is freed; without it the allocator learns from each freed picture to keep the next ones for
/// itself, and after a hundred bubbles the process would hold on to the memory of all those that were up at once. Every
/// smaller one joins its freed neighbours at once, and all threads share one heap, so that what stays lies on few
/// pages. Call it first in main(), before there is a second thread.
void keepMemoryTogether();

/// Gives the system back what the allocator holds of freed smaller blocks, those that it keeps for the calling thread
/// included. Costs a walk over all of them and a thread that ends at once; for the moment after which a process only
/// waits. Any thread; where no further thread can be had, the calling one keeps what is its own.
void returnFreedMemory();

}  // namespace platform
