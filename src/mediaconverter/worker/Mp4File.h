#pragma once

#include "mediaconverter/worker/BlockWriter.h"
#include "mediaconverter/worker/FfmpegVersions.h"

extern "C" {
#include <libavformat/avio.h>
}

#include <cstdint>
#include <span>
#include <vector>

namespace worker {

/// The MP4's bytes on their way to the descriptor. The muxer writes the data first and the index last; the index is
/// kept in memory and then put before the data, without moving the data through memory where the file system can
/// insert a range, else into space that was reserved for it, else by moving the data up. Throws Failure.
class Mp4File {
public:
    /// `descriptor` is open for reading and writing, and empty; it stays the caller's. `reserve` is what the index is
    /// expected to need, in bytes: used where the file system can't insert a range.
    Mp4File(int descriptor, std::int64_t reserve);
    ~Mp4File();

    Mp4File(const Mp4File&) = delete;
    Mp4File& operator=(const Mp4File&) = delete;

    AVIOContext* context() { return context_; }

    /// The muxer has written its header: the file type box, and behind it the start of the data box.
    void headerWritten();

    /// From here on the muxer finishes the data and writes the index.
    void dataWritten();

    /// The muxer is done. Puts the index in front; the file is whole then. `channelMasks` as addChannelLayouts() takes
    /// them.
    void placeIndex(std::span<const std::uint32_t> channelMasks);

    /// Throws the first error of writing, as what it means to the user.
    void requireNoError();

private:
    static int writeCallback(void* self, ffmpeg::WrittenByte* bytes, int length);
    static std::int64_t seekCallback(void* self, std::int64_t offset, int whence);
    int write(const std::uint8_t* bytes, std::size_t length);
    void keepFileType(const std::uint8_t* bytes, std::size_t length);
    bool keep(const std::uint8_t* bytes, std::size_t length);
    void writeNow(std::int64_t position, const std::uint8_t* bytes, std::size_t length);

    std::vector<std::uint8_t> takeIndex();
    void makeRoom(std::int64_t needed);
    bool insertRange(std::int64_t length);
    void moveUp(std::int64_t by);
    void writeFront(const std::vector<std::uint8_t>& index);
    void writeFreeBox(std::int64_t position, std::int64_t length);

    int descriptor_;
    std::int64_t front_ = 0;     ///< bytes before the muxer's first
    std::int64_t position_ = 0;  ///< the muxer's, not the file's
    std::int64_t end_ = 0;       ///< of the data, in the muxer's positions
    std::vector<std::uint8_t> fileType_;
    bool finishing_ = false;
    std::int64_t tailStart_ = 0;
    std::int64_t indexStart_ = -1;
    std::vector<std::uint8_t> tail_;
    AVIOContext* context_ = nullptr;
    BlockWriter writer_;
};

}  // namespace worker
