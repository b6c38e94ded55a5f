#pragma once

#include "mediaconverter/worker/reading/SourceReader.h"

extern "C" {
#include <libavcodec/packet.h>
}

#include <cstdint>
#include <optional>
#include <string>

namespace worker {

/// Follows the packets of an FLV, whose demuxer skips unknown tags without a message and gives up at a broken chain of
/// tags, and finds where content continues.
class FlvTrail {
public:
    /// Where the first tag starts (Adobe Flash Video File Format Specification 10.1, annex E.2 and E.3).
    static constexpr std::int64_t firstTag = 13;

    /// The reader must outlive this.
    explicit FlvTrail(const SourceReader& reader) : reader_(reader) {}

    /// The demuxer's next packet. Returns what it skipped before it, in words; empty if nothing.
    std::string follow(const AVPacket& packet);

    /// The demuxer has found its last packet: where more content starts. None if there is none, or the chain has broken
    /// too often.
    std::optional<std::int64_t> findMore();

    /// What findMore() leads past, in words.
    std::string gap() const;

    /// The demuxer continues at this position.
    void continueAt(std::int64_t position) { packetStart_ = packetEnd_ = position; }

private:
    const SourceReader& reader_;
    int breaks_ = 0;
    std::int64_t packetStart_ = -1;  ///< of the last packet for which it is known, in bytes
    std::int64_t packetEnd_ = -1;    ///< the end of its data, in bytes
};

}  // namespace worker
