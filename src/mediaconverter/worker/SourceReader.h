#pragma once

extern "C" {
#include <libavformat/avio.h>
}

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace worker {

/// The recording as the media library reads it: one descriptor, no name, no other file to be had. An error while
/// reading is kept, so that it can't pass for the end of the recording.
class SourceReader {
public:
    /// `descriptor` stays the caller's and must be seekable. Throws Failure.
    explicit SourceReader(int descriptor);
    ~SourceReader();

    SourceReader(const SourceReader&) = delete;
    SourceReader& operator=(const SourceReader&) = delete;

    AVIOContext* context() { return context_; }
    std::int64_t size() const { return size_; }

    /// Where the last read ended, in bytes.
    std::int64_t position() const { return position_; }

    /// From here on the bytes from `start` to `end`, sixteen at the least, read as one box that a demuxer of MP4
    /// passes over.
    void coverWithFreeBox(std::int64_t start, std::int64_t end);

    /// From here on `bytes` are read in the place of those at `start`.
    void patch(std::int64_t start, std::vector<std::uint8_t> bytes) { covers_.push_back({start, std::move(bytes)}); }

    /// From here on the media library sees a file that ends at `end`.
    void endAt(std::int64_t end) { end_ = end; }

    /// Shows `observer` what the media library reads and where, as it is in the file.
    void setObserver(std::function<void(std::int64_t position, std::span<const std::uint8_t> bytes)> observer) {
        observer_ = std::move(observer);
    }

    /// Reads from the file itself, apart from what the media library reads; how many bytes there were.
    std::size_t peek(std::int64_t position, std::uint8_t* bytes, std::size_t length) const;

    /// Throws Failure where a read has failed or the file has become shorter than it was.
    void requireNoError() const;

private:
    static int readCallback(void* self, std::uint8_t* buffer, int length);
    static std::int64_t seekCallback(void* self, std::int64_t offset, int whence);
    int read(std::uint8_t* buffer, int length);
    void applyCovers(std::int64_t position, std::uint8_t* bytes, std::size_t length) const;

    struct Cover {
        std::int64_t start;
        std::vector<std::uint8_t> header;
    };

    int descriptor_;
    std::vector<Cover> covers_;
    std::function<void(std::int64_t, std::span<const std::uint8_t>)> observer_;
    std::int64_t size_ = 0;
    std::int64_t end_ = 0;  ///< of what the media library sees
    std::int64_t position_ = 0;
    std::int64_t lastEnd_ = -1;  ///< of the last read
    std::size_t step_ = 0;       ///< the most that the next read takes if it goes on there
    mutable int error_ = 0;      ///< of the last read that failed
    bool shrunk_ = false;
    AVIOContext* context_ = nullptr;
};

}  // namespace worker
