#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/PictureOrder.h"
#include "mediaconverter/worker/Recording.h"

#include <cstdint>
#include <deque>
#include <map>

namespace worker {

/// The packets of a recording, each with its times. The first ones are read ahead: they decide at which time the
/// recording begins. A stream's own start time can't, since the library leaves it out for streams that it has not
/// decoded.
class Beginning {
public:
    /// `recording` must outlive it. Throws Failure.
    explicit Beginning(Recording& recording);

    /// The earliest time at which audio or video is shown, in microseconds; of a few streams that begin together but
    /// for a rounded millisecond, the latest. 0 where no packet has a time.
    std::int64_t time() const { return time_; }

    /// The next packet of the recording; false at the end.
    bool read(AVPacket& packet);

private:
    void readAhead();
    bool readOn();
    void put(PacketPointer packet);
    void takeFrom(PictureOrder& order);
    void findTime();

    Recording& recording_;
    std::map<int, PictureOrder> orders_;  ///< of the streams whose pictures have no times of their own
    bool isAtEnd_ = false;
    std::deque<PacketPointer> packets_;
    std::int64_t time_ = 0;
};

}  // namespace worker
