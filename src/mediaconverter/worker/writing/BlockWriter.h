#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

namespace worker {

/// Collects its input in blocks and writes these to a file on a thread of its own, so that reading and muxing continue
/// meanwhile. A small ring of blocks limits the memory. The first error is kept; everything after it is discarded. Call
/// it from one thread only.
class BlockWriter {
public:
    explicit BlockWriter(int descriptor);
    ~BlockWriter();

    BlockWriter(const BlockWriter&) = delete;
    BlockWriter& operator=(const BlockWriter&) = delete;

    /// Copies `length` bytes to be written at `position`. Blocks while the ring is full. False once an error has
    /// occurred, which may be noticed some calls later.
    bool write(std::int64_t position, const std::uint8_t* bytes, std::size_t length);

    /// Waits until everything is written. Returns 0, or the errno value of the first error.
    int drain();

private:
    /// Blocks also end at multiples of this size: a page that is written in two parts may go to the disk twice.
    static constexpr std::size_t blockSize = std::size_t{128} * 1024;
    static constexpr std::size_t blockCount = 8;

    struct Block {
        std::unique_ptr<std::uint8_t[]> bytes;
        std::size_t length = 0;
        std::size_t capacity = 0;
        std::int64_t position = 0;

        std::int64_t end() const { return position + static_cast<std::int64_t>(length); }
    };

    bool startFilling(std::int64_t position);
    void handOver();

    void run();
    int writeOut(const Block& block);

    int descriptor_;
    std::array<Block, blockCount> ring_;
    std::size_t first_ = 0;
    std::size_t filled_ = 0;
    Block* filling_ = nullptr;  ///< the next block to fill, if it holds anything yet
    std::int64_t unflushed_ = 0;
    int error_ = 0;
    bool ending_ = false;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::thread thread_;
};

/// Writes all bytes at `position`; returns 0 or an errno value.
int writeAt(int descriptor, std::int64_t position, const std::uint8_t* bytes, std::size_t length);

}  // namespace worker
