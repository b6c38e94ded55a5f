#pragma once

extern "C" {
#include <libavformat/avio.h>
}

#include <cstdint>

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

    /// Throws Failure where a read has failed or the file has become shorter than it was.
    void requireNoError() const;

private:
    static int readCallback(void* self, std::uint8_t* buffer, int length);
    static std::int64_t seekCallback(void* self, std::int64_t offset, int whence);
    int read(std::uint8_t* buffer, int length);

    int descriptor_;
    std::int64_t size_ = 0;
    std::int64_t position_ = 0;
    int error_ = 0;
    bool shrunk_ = false;
    AVIOContext* context_ = nullptr;
};

}  // namespace worker
