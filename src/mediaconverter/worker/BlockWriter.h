#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

namespace worker {

/// Writes blocks to a file on a thread of its own, so that reading and muxing go on meanwhile. A small ring of blocks
/// bounds the memory. The first error is kept; what comes after it is thrown away.
class BlockWriter {
public:
    explicit BlockWriter(int descriptor);
    ~BlockWriter();

    BlockWriter(const BlockWriter&) = delete;
    BlockWriter& operator=(const BlockWriter&) = delete;

    /// Takes a copy of `length` bytes to write at `position`. Waits while the ring is full. False once an error has
    /// happened.
    bool write(std::int64_t position, const std::uint8_t* bytes, std::size_t length);

    /// Waits until all is written. 0, or the errno value of the first error.
    int drain();

private:
    static constexpr std::size_t blockSize = std::size_t{256} * 1024;
    static constexpr std::size_t blockCount = 8;

    struct Block {
        std::unique_ptr<std::uint8_t[]> bytes;
        std::size_t length = 0;
        std::int64_t position = 0;
    };

    void run();
    int writeOut(const Block& block);

    int descriptor_;
    std::array<Block, blockCount> ring_;
    std::size_t first_ = 0;
    std::size_t filled_ = 0;
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
