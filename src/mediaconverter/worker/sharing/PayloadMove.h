#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <thread>

namespace worker {

/// Whether both files can share blocks; found out with the first block of the source. The output is empty before and
/// after. Throws Failure.
bool canShareBlocks(int source, int output);

/// Puts the first `length` bytes of the source into the output, from `at` on, which is a multiple of the file system's
/// block: both files share the blocks, or the kernel copies, or the worker does. Stops early once `stops` is set.
/// Throws Failure.
void movePayload(int source, int output, std::int64_t at, std::int64_t length, const std::atomic<bool>& stops);

/// Does this on a thread of its own, so that the recording can be read meanwhile.
class BackgroundMove {
public:
    /// The caller keeps both descriptors.
    BackgroundMove(int source, int output, std::int64_t at, std::int64_t length);

    /// Stops if it has not ended.
    ~BackgroundMove();

    BackgroundMove(const BackgroundMove&) = delete;
    BackgroundMove& operator=(const BackgroundMove&) = delete;

    /// Waits for the end. Throws Failure. Call once.
    void finish();

private:
    std::atomic<bool> stops_{false};
    std::exception_ptr failure_;  ///< of the thread; read after its end
    std::thread thread_;
};

}  // namespace worker
