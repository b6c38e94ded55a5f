#include "mediaconverter/worker/accounting/CutPackets.h"

#include "mediaconverter/worker/accounting/WholeFrame.h"

namespace worker {

bool CutPackets::hold(AVPacket& packet, const AVStream& stream, bool isAtEnd) {
    const bool isMarked = isAtEnd && (packet.flags & AV_PKT_FLAG_CORRUPT) != 0;
    if (isAtEnd && keepWholeSamples(*stream.codecpar, packet)) {
        return false;
    }
    if (isAtEnd && isCutFrame(*stream.codecpar, packet)) {
        accounting_.addCut(packet, stream);
        av_packet_unref(&packet);
        return true;
    }
    auto held = held_.find(stream.index);
    if (!isMarked && held == held_.end()) {
        return false;
    }
    if (held == held_.end()) {
        held = held_.emplace(stream.index, newPacket()).first;
        av_packet_move_ref(held->second.get(), &packet);
        return true;
    }
    const PacketPointer next = newPacket();
    av_packet_move_ref(next.get(), &packet);
    av_packet_move_ref(&packet, held->second.get());
    av_packet_move_ref(held->second.get(), next.get());
    packet.flags &= ~AV_PKT_FLAG_CORRUPT;
    return false;
}

bool CutPackets::release(AVPacket& packet, const AVFormatContext& format) {
    while (!held_.empty()) {
        const auto held = held_.extract(held_.begin());
        const AVStream& stream = *format.streams[held.key()];
        av_packet_move_ref(&packet, held.mapped().get());
        if ((packet.flags & AV_PKT_FLAG_CORRUPT) == 0 || isWholeFrame(*stream.codecpar, packet)) {
            packet.flags &= ~AV_PKT_FLAG_CORRUPT;
            return true;
        }
        accounting_.addCut(packet, stream);
        av_packet_unref(&packet);
    }
    return false;
}

}  // namespace worker
