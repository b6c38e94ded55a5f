#pragma once

#include "mediaconverter/worker/FfmpegVersions.h"
#include "mediaconverter/worker/proof/WrittenRange.h"
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
/// and then put in front of the data, into room that was reserved there. If the room is too small, a range is inserted
/// if the file system can, else the data is moved up. Throws Failure.
class Mp4File final : public MuxerFile {
public:
    /// `descriptor` is open for reading and writing; the caller keeps it, and its content is discarded. `reserve` is
    /// the expected size of the index, in bytes.
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

    /// What the file holds beside the packets that were written between headerWritten() and dataWritten(): file type,
    /// index and the header of the free box after it, chapters, samples that the muxer adds. Call after placeIndex().
    std::span<const WrittenRange> writtenByMuxer() const override { return ranges_; }

    /// Throws the first write error, as the error that it means for the user.
    void requireNoError() override;

private:
    using Bytes = std::span<const std::uint8_t>;

    /// What the muxer writes.
    enum class Phase {
        header,  ///< straight to the file, and kept
        data,    ///< straight to the file
        tail,    ///< the last samples, kept in memory because the index follows them
        sealed,  ///< the data box has its size, so the next write behind it is the index
    };

    static int writeCallback(void* self, ffmpeg::WrittenByte* bytes, int length);
    static std::int64_t seekCallback(void* self, std::int64_t offset, int whence);
    int write(const std::uint8_t* bytes, std::size_t length);
    void keepStart(const std::uint8_t* bytes, std::size_t length);
    bool keep(const std::uint8_t* bytes, std::size_t length);
    void writeNow(std::int64_t position, const std::uint8_t* bytes, std::size_t length);

    std::vector<std::uint8_t> extractIndex();
    void makeRoom(std::int64_t needed);
    bool insertRange(std::int64_t length);
    void moveUp(std::int64_t by);
    void writeFront(const std::vector<std::uint8_t>& index);
    Bytes dataWithHeader() const;

    int descriptor_;
    std::int64_t front_ = 0;           ///< bytes before the muxer's first byte
    std::int64_t position_ = 0;        ///< in the muxer's coordinates, not the file's
    std::int64_t end_ = 0;             ///< of the data, in the muxer's coordinates
    std::vector<std::uint8_t> start_;  ///< what the muxer has written with its header
    Phase phase_ = Phase::header;
    std::int64_t tailStart_ = 0;              ///< of what is kept in memory, in the muxer's coordinates
    std::optional<std::int64_t> indexStart_;  ///< in the muxer's coordinates
    std::vector<std::uint8_t> tail_;
    std::vector<WrittenRange> ranges_;  ///< in the muxer's coordinates until the index is placed
    AVIOContext* context_ = nullptr;
    BlockWriter writer_;
};

}  // namespace worker
