#pragma once

#include "mediaconverter/worker/FfmpegVersions.h"
#include "mediaconverter/worker/writing/BlockWriter.h"
#include "mediaconverter/worker/writing/MuxerFile.h"

extern "C" {
#include <libavformat/avio.h>
}

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace worker {

/// Writes the MP4 to the descriptor. The muxer writes the data first and the index last; the index is kept in memory
/// and then put in front of the data: by inserting a range if the file system can, which moves no data through memory,
/// else into reserved space, else by moving the data up. Throws Failure.
class Mp4File final : public MuxerFile {
public:
    /// `descriptor` is open for reading and writing, and empty; the caller keeps it. `reserve` is the expected size of
    /// the index, in bytes: used if the file system cannot insert a range.
    Mp4File(int descriptor, std::int64_t reserve);
    ~Mp4File() override;

    Mp4File(const Mp4File&) = delete;
    Mp4File& operator=(const Mp4File&) = delete;

    AVIOContext* context() override { return context_; }

    /// The muxer has written its header: the file type box, followed by the start of the data box.
    void headerWritten() override;

    /// From here on the muxer finishes the data and writes the index.
    void dataWritten() override;

    /// The muxer is done. Puts the index in front, which completes the file. `channelMasks` has the form that
    /// addChannelLayouts() takes.
    void placeIndex(std::span<const std::uint32_t> channelMasks) override;

    /// Throws the first write error, as the error that it means for the user.
    void requireNoError() override;

private:
    /// What the muxer writes.
    enum class Phase {
        data,    ///< straight to the file
        tail,    ///< the last samples, kept in memory because the index follows them
        sealed,  ///< the data box has its size, so the next write behind it is the index
    };

    static int writeCallback(void* self, ffmpeg::WrittenByte* bytes, int length);
    static std::int64_t seekCallback(void* self, std::int64_t offset, int whence);
    int write(const std::uint8_t* bytes, std::size_t length);
    void keepFileType(const std::uint8_t* bytes, std::size_t length);
    bool keep(const std::uint8_t* bytes, std::size_t length);
    void writeNow(std::int64_t position, const std::uint8_t* bytes, std::size_t length);

    std::vector<std::uint8_t> extractIndex();
    void makeRoom(std::int64_t needed);
    bool insertRange(std::int64_t length);
    void moveUp(std::int64_t by);
    void writeFront(const std::vector<std::uint8_t>& index);
    void writeFreeBox(std::int64_t position, std::int64_t length);

    int descriptor_;
    std::int64_t front_ = 0;     ///< bytes before the muxer's first byte
    std::int64_t position_ = 0;  ///< in the muxer's coordinates, not the file's
    std::int64_t end_ = 0;       ///< of the data, in the muxer's coordinates
    std::vector<std::uint8_t> fileType_;
    Phase phase_ = Phase::data;
    std::int64_t tailStart_ = 0;              ///< of what is kept in memory, in the muxer's coordinates
    std::optional<std::int64_t> indexStart_;  ///< in the muxer's coordinates
    std::vector<std::uint8_t> tail_;
    AVIOContext* context_ = nullptr;
    BlockWriter writer_;
};

}  // namespace worker
