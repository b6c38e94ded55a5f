#pragma once

#include "mediaconverter/worker/proof/WrittenRange.h"

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avio.h>
}

#include <cstdint>
#include <span>

namespace worker {

/// What the muxer writes to. All functions throw Failure.
class MuxerFile {
public:
    virtual ~MuxerFile() = default;

    virtual AVIOContext* context() = 0;

    /// The muxer has written its header: the file type box, followed by the start of the data box.
    virtual void headerWritten() = 0;

    /// The muxer is about to store the packet, and has done so.
    virtual void packetFollows(const AVPacket&) {}
    virtual void packetWritten(const AVPacket&) {}

    /// Whether the order in which packets arrive decides where they are in the file.
    virtual bool keepsOrder() const { return true; }

    /// Whether the muxer stores payloads, so that they can be read again and compared.
    virtual bool storesPayloads() const { return true; }

    /// What the file holds beside the packets, to be compared. Call after placeIndex().
    virtual std::span<const WrittenRange> writtenByMuxer() const { return {}; }

    /// From here on the muxer finishes the data and writes the index.
    virtual void dataWritten() = 0;

    /// The muxer is done. Completes the file, with the index in front. `channelMasks` has the form that
    /// addChannelLayouts() takes.
    virtual void placeIndex(std::span<const std::uint32_t> channelMasks) = 0;

    /// Throws the first write error, as the error that it means for the user.
    virtual void requireNoError() = 0;
};

}  // namespace worker
