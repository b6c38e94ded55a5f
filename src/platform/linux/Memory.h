#pragma once

namespace platform {

/// Lets the allocator give every block of 64 KiB and more back to the system the moment it is freed. Without it the
/// allocator learns from each freed picture to keep the next ones for itself: after a hundred bubbles a process that
/// only waits would hold on to the memory of all those that were up at once. Call it once, before the first picture, on
/// the main thread.
void returnLargeMemoryAtOnce();

/// Gives the system back what the allocator holds of freed smaller blocks. Costs a walk over all of them; for the
/// moment after which a process only waits. Any thread.
void returnFreedMemory();

}  // namespace platform
