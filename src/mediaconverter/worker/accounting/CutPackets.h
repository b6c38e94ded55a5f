#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/accounting/Accounting.h"

#include <map>

namespace worker {

/// Finds the packets that the end of the recording has cut. The library marks them, but also everything else that it
/// makes of the same data; only the last packet of each stream may really be cut.
class CutPackets {
public:
    /// `accounting` must outlive it.
    explicit CutPackets(Accounting& accounting) : accounting_(accounting) {}

    /// Examines a packet of `stream`; `isAtEnd` means that the library has read up to the end of the file. True if
    /// there is no packet to go on with: it is cut, or is held back. Otherwise `packet` is the next one.
    bool hold(AVPacket& packet, const AVStream& stream, bool isAtEnd);

    /// Call after the last packet: returns one that was held back and is complete; false if there are none.
    bool release(AVPacket& packet, const AVFormatContext& format);

private:
    Accounting& accounting_;
    std::map<int, PacketPointer> held_;  ///< the last packet of each stream
};

}  // namespace worker
