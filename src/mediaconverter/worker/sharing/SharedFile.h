#pragma once

#include "mediaconverter/worker/FfmpegVersions.h"
#include "mediaconverter/worker/accounting/ByteRanges.h"
#include "mediaconverter/worker/sharing/MuxerParts.h"
#include "mediaconverter/worker/sharing/PacketList.h"
#include "mediaconverter/worker/sharing/PayloadMove.h"
#include "mediaconverter/worker/writing/MuxerFile.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace worker {

class SharedPackets;

/// Lets the muxer write only the index of an MP4 whose data is the recording itself. Before each packet it sets the
/// muxer's position to where the packet's payload lies, and drops what the muxer then writes, which must be this
/// payload. In the end the file is: file type, index, free space up to the border of a block, and a data box with the
/// whole recording, moved there by the kernel; what is left out of the MP4 is overwritten with zeros. Throws Failure,
/// and NotShareable if the muxer changes a payload.
class SharedFile final : public MuxerFile {
public:
    /// The caller keeps both descriptors. `output` is open for reading and writing; `source` has `size` bytes. Only
    /// packets of `packets` may be stored, in the order of their tracks. If `reserve` is not 0, the recording is moved
    /// at once, in the background, after that many bytes for the index; else in the end, which suffices where blocks
    /// are shared.
    SharedFile(int source, int output, std::int64_t size, SharedPackets& packets, std::int64_t reserve);
    ~SharedFile() override;

    SharedFile(const SharedFile&) = delete;
    SharedFile& operator=(const SharedFile&) = delete;

    AVIOContext* context() override { return context_; }
    void headerWritten() override;
    void packetFollows(const AVPacket& packet) override;
    void packetWritten(const AVPacket& packet) override;
    bool keepsOrder() const override { return false; }
    bool storesPayloads() const override { return false; }
    void dataWritten() override;
    void placeIndex(std::span<const std::uint32_t> channelMasks) override;
    void requireNoError() override;

    /// Where the recording starts in the finished file, in bytes.
    std::int64_t payloadStart() const { return payloadStart_; }

private:
    static int writeCallback(void* self, ffmpeg::WrittenByte* bytes, int length);
    static std::int64_t seekCallback(void* self, std::int64_t offset, int whence);
    int write(const std::uint8_t* bytes, std::size_t length);
    void acceptPayload(const std::uint8_t* bytes, std::size_t length);
    void requireAllStored() const;
    std::int64_t placeData(std::int64_t least);
    void writeFront(const std::vector<std::uint8_t>& index);
    void overwriteLeftOut();
    void writeNow(std::int64_t position, std::span<const std::uint8_t> bytes);

    int source_;
    int output_;
    std::int64_t size_;
    SharedPackets& packets_;
    MuxerParts parts_;
    std::vector<std::uint8_t> header_;  ///< what the muxer writes before the first packet
    bool hasHeader_ = false;
    std::vector<std::uint8_t> chapters_;  ///< samples that the muxer itself adds at the start of the data
    std::int64_t chaptersStart_ = 0;      ///< in the muxer's coordinates
    std::int64_t shift_ = 0;              ///< from a byte of the recording to the muxer's coordinates
    std::int64_t position_ = 0;           ///< in the muxer's coordinates
    const AVPacket* expected_ = nullptr;
    std::size_t written_ = 0;  ///< bytes of the expected payload
    bool isChanged_ = false;   ///< the muxer has written something else
    std::int64_t reserve_;
    std::int64_t payloadStart_ = 0;
    std::optional<BackgroundMove> move_;
    AVIOContext* context_ = nullptr;
};

}  // namespace worker
