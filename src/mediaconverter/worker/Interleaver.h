#pragma once

#include "mediaconverter/worker/AvPointers.h"

#include <cstdint>
#include <deque>

namespace worker {

/// Puts the packets of several tracks into the order of their decoding times, so that a player need not seek between
/// tracks. A track without packets is waited for until the others are ten seconds ahead of it.
class Interleaver {
public:
    /// The tracks of `format`; before the first packet.
    void start(const AVFormatContext& format);

    /// Takes the packet's content and leaves it blank. Its times are in its track's time base.
    void push(AVPacket& packet);

    /// The next packet, if it is certain which one that is, or if `all` are wanted; else none.
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
