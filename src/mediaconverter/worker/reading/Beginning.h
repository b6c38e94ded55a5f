#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/reading/Recording.h"
#include "mediaconverter/worker/times/PictureOrder.h"

#include <cstdint>
#include <deque>
#include <map>
#include <vector>

namespace worker {

/// The packets of a recording, with their times. The first ones are read ahead, because they decide when the recording
/// starts. A stream's own start time cannot decide it: the library leaves it unset for streams that it has not decoded.
class Beginning {
public:
    /// `recording` must outlive it. Throws Failure.
    explicit Beginning(Recording& recording);

    /// The earliest time at which audio or video is shown, in microseconds; if a few streams start together except for
    /// a rounded millisecond, the latest of these. 0 if no packet has a time.
    std::int64_t time() const { return time_; }

    /// The presentation times of the stream's packets that were read ahead, in its time base.
    std::vector<std::int64_t> timesOf(int stream) const;

    /// The next packet of the recording; false at the end.
    bool read(AVPacket& packet);

private:
    void readAhead();
    bool readOn();
    void put(PacketPointer packet);
    void popReadyFrom(PictureOrder& order);
    void findTime();

    Recording& recording_;
    std::map<int, PictureOrder> orders_;  ///< of streams whose frames have no presentation times
    bool isAtEnd_ = false;
    std::deque<PacketPointer> packets_;
    std::int64_t time_ = 0;
};

}  // namespace worker
