#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

namespace worker {

/// Joins what it is given to blocks and writes these to a file on a thread of its own, so that reading and muxing go on
/// meanwhile. A small ring of blocks bounds the memory. The first error is kept; what comes after it is thrown away.
/// The calls are one thread's.
class BlockWriter {
public:
    explicit BlockWriter(int descriptor);
    ~BlockWriter();

    BlockWriter(const BlockWriter&) = delete;
    BlockWriter& operator=(const BlockWriter&) = delete;

    /// Takes a copy of `length` bytes to write at `position`. Waits while the ring is full. False once an error has
    /// come up, which may be some calls later.
    bool write(std::int64_t position, const std::uint8_t* bytes, std::size_t length);

    /// Waits until all is written. 0, or the errno value of the first error.
    int drain();

private:
    /// Blocks also end at multiples of it: a page that is written in two parts may go to the disk twice.
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
    Block* filling_ = nullptr;  ///< the next one to be filled, while there is something in it
    std::int64_t unflushed_ = 0;
    int error_ = 0;
    bool ending_ = false;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::thread thread_;
};

/// Writes all of it at `position`; 0 or an errno value.
int writeAt(int descriptor, std::int64_t position, const std::uint8_t* bytes, std::size_t length);

}  // namespace worker
