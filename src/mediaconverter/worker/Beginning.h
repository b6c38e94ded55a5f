#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/Recording.h"

#include <cstdint>
#include <deque>

namespace worker {

/// The first packets of a recording, read ahead: they decide at which time it begins. A stream's own start time can't,
/// since the library leaves it out for streams that it has not decoded.
class Beginning {
public:
    /// `recording` must outlive it. Throws Failure.
    explicit Beginning(Recording& recording);

    /// The earliest time at which audio or video is shown, in microseconds; of a few streams that begin together but
    /// for a rounded millisecond, the latest. 0 where no packet has a time.
    std::int64_t time() const { return time_; }

    /// The next packet of the recording, those read ahead first; false at the end.
    bool read(AVPacket& packet);

private:
    void readAhead();
    void findTime();

    Recording& recording_;
    std::deque<PacketPointer> packets_;
    std::int64_t time_ = 0;
};

}  // namespace worker
