#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/accounting/Accounting.h"

#include <map>

namespace worker {

/// Sorts out the packets that the end of the recording has cut. They come with a mark, but so do all that the library
/// makes of the same piece; only the last of each stream may really be cut.
class CutPackets {
public:
    /// `accounting` must outlive it.
    explicit CutPackets(Accounting& accounting) : accounting_(accounting) {}

    /// Looks at a packet of `stream`; `isAtEnd` tells that the library has read up to the end of the file. True where
    /// there is nothing to go on with: the packet is cut, or is kept back. Else `packet` is the next one.
    bool hold(AVPacket& packet, const AVStream& stream, bool isAtEnd);

    /// After the last packet: gives back one that was kept back and is whole; false where there are none.
    bool release(AVPacket& packet, const AVFormatContext& format);

private:
    Accounting& accounting_;
    std::map<int, PacketPointer> held_;  ///< of each stream the last one
};

}  // namespace worker
