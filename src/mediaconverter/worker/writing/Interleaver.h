#pragma once

#include "mediaconverter/worker/AvPointers.h"

#include <cstdint>
#include <deque>

namespace worker {

/// Sorts the packets of several tracks by decoding time, so that a player need not seek between tracks. It waits for a
/// track without packets until the others are ten seconds ahead.
class Interleaver {
public:
    /// The tracks of `format`; before the first packet.
    void start(const AVFormatContext& format);

    /// Moves the content out of the packet and leaves it blank. Its times are in its track's time base.
    void push(AVPacket& packet);

    /// The next packet if its order is certain, or if `all` is set; else null.
    PacketPointer pop(bool all);

private:
    struct Waiting {
        PacketPointer packet;
        std::int64_t time;  ///< in microseconds
    };

    struct Queue {
        AVRational base = {1, AV_TIME_BASE};
        bool isSparse = false;  ///< its next packet may come at any time
        std::deque<Waiting> packets;
    };

    bool isCertain(const Queue& first) const;

    std::deque<Queue> queues_;
    std::int64_t furthest_ = INT64_MIN;
};

}  // namespace worker
