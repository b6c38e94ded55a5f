#include "mediaconverter/worker/writing/BlockWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace worker {

namespace {

/// How much may wait in memory before write-back is started, so that the final sync has little left to do.
constexpr std::int64_t flushStep = std::int64_t{8} * 1024 * 1024;

}  // namespace

int writeAt(int descriptor, std::int64_t position, const std::uint8_t* bytes, std::size_t length) {
    while (length > 0) {
        const ssize_t written = ::pwrite(descriptor, bytes, length, position);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        if (written == 0) {
            return ENOSPC;
        }
        bytes += written;
        position += written;
        length -= static_cast<std::size_t>(written);
    }
    return 0;
}

BlockWriter::BlockWriter(int descriptor) : descriptor_(descriptor) {
    for (Block& block : ring_) {
        block.bytes = std::make_unique<std::uint8_t[]>(blockSize);
    }
    thread_ = std::thread([this] { run(); });
}

BlockWriter::~BlockWriter() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

bool BlockWriter::write(std::int64_t position, const std::uint8_t* bytes, std::size_t length) {
    if (filling_ != nullptr && position != filling_->end()) {
        handOver();
    }
    while (length > 0) {
        if (filling_ == nullptr && !startFilling(position)) {
            return false;
        }
        const std::size_t taken = std::min(length, filling_->capacity - filling_->length);
        std::memcpy(filling_->bytes.get() + filling_->length, bytes, taken);
        filling_->length += taken;
        if (filling_->length == filling_->capacity) {
            handOver();
        }
        bytes += taken;
        position += static_cast<std::int64_t>(taken);
        length -= taken;
    }
    return true;
}

int BlockWriter::drain() {
    if (filling_ != nullptr) {
        handOver();
    }
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return filled_ == 0 || error_ != 0; });
    return error_;
}

bool BlockWriter::startFilling(std::int64_t position) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return filled_ < blockCount || error_ != 0; });
    if (error_ != 0) {
        return false;
    }
    // The slot belongs to the caller until it is counted as filled.
    filling_ = &ring_[(first_ + filled_) % blockCount];
    filling_->position = position;
    filling_->length = 0;
    filling_->capacity = blockSize - static_cast<std::size_t>(position % static_cast<std::int64_t>(blockSize));
    return true;
}

void BlockWriter::handOver() {
    filling_ = nullptr;
    {
        const std::lock_guard lock(mutex_);
        ++filled_;
    }
    changed_.notify_all();
}

void BlockWriter::run() {
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return filled_ > 0 || ending_; });
        if (filled_ == 0) {
            return;
        }
        const Block& block = ring_[first_];
        const bool skip = error_ != 0;
        lock.unlock();
        const int error = skip ? 0 : writeOut(block);
        lock.lock();
        if (error != 0) {
            error_ = error;
        }
        first_ = (first_ + 1) % blockCount;
        --filled_;
        changed_.notify_all();
    }
}

int BlockWriter::writeOut(const Block& block) {
    const int error = writeAt(descriptor_, block.position, block.bytes.get(), block.length);
    unflushed_ += static_cast<std::int64_t>(block.length);
    if (error == 0 && unflushed_ >= flushStep) {
        const std::int64_t end = block.position + static_cast<std::int64_t>(block.length);
        // This only starts the write-back; the sync does the rest and reports all errors.
        static_cast<void>(::sync_file_range(descriptor_, std::max<std::int64_t>(0, end - unflushed_), unflushed_,
                                            SYNC_FILE_RANGE_WRITE));
        unflushed_ = 0;
    }
    return error;
}

}  // namespace worker
