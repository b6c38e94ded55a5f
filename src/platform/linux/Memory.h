#pragma once

namespace platform {

/// Configures the allocator for a process that waits most of its life. Every block of 64 KiB or more goes back to the
/// system as soon as it is freed. Without this, the allocator adapts to each freed image and keeps the next ones for
/// itself; after a hundred bubbles the process would hold the memory of all those that were open at once. Every smaller
/// block is merged with its freed neighbours at once, and all threads share one heap, so that the remaining blocks lie
/// on few pages. Call it first in main(), before there is a second thread.
void keepMemoryTogether();

/// Returns to the system what the allocator holds of freed smaller blocks, including those that it keeps for the
/// calling thread. Walks over all of them and starts a thread that ends at once; call it when the process goes back to
/// waiting. Any thread; if no further thread can be created, the calling thread keeps its blocks.
void returnFreedMemory();

}  // namespace platform
