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

/// The recording as the media library reads it: one descriptor, no name, no access to other files. A read error is
/// remembered, so that it is not mistaken for the end of the recording.
class SourceReader {
public:
    /// The caller keeps `descriptor`, which must be seekable. Throws Failure.
    explicit SourceReader(int descriptor);
    ~SourceReader();

    SourceReader(const SourceReader&) = delete;
    SourceReader& operator=(const SourceReader&) = delete;

    AVIOContext* context() { return context_; }
    std::int64_t size() const { return size_; }

    /// Where the last read ended, in bytes.
    std::int64_t position() const { return position_; }

    /// From here on the bytes from `start` to `end`, at least sixteen, are read as one box that an MP4 demuxer skips.
    void coverWithFreeBox(std::int64_t start, std::int64_t end);

    /// From here on `bytes` are read in place of those at `start`.
    void patch(std::int64_t start, std::vector<std::uint8_t> bytes) { covers_.push_back({start, std::move(bytes)}); }

    /// From here on the media library sees a file that ends at `end`.
    void endAt(std::int64_t end) { end_ = end; }

    /// Reports to `observer` what the media library reads and where, as it is in the file.
    void setObserver(std::function<void(std::int64_t position, std::span<const std::uint8_t> bytes)> observer) {
        observer_ = std::move(observer);
    }

    /// Reads from the file itself, independently of the media library; returns the number of bytes read.
    std::size_t peek(std::int64_t position, std::uint8_t* bytes, std::size_t length) const;

    /// Throws Failure if a read has failed or the file has become shorter.
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
    std::int64_t end_ = 0;  ///< of the file as the media library sees it
    std::int64_t position_ = 0;
    std::int64_t lastEnd_ = -1;  ///< of the last read
    std::size_t step_ = 0;       ///< the most that the next read takes if it continues there
    mutable int error_ = 0;      ///< of the last read that failed
    bool shrunk_ = false;
    AVIOContext* context_ = nullptr;
};

}  // namespace worker
