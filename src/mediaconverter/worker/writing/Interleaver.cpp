#include "mediaconverter/worker/writing/Interleaver.h"

#include "mediaconverter/worker/times/MicrosecondBase.h"
#include "mediaconverter/worker/tracks/TrackPlan.h"

#include <algorithm>

namespace worker {

namespace {

/// The media library's default limit for interleaving.
constexpr std::int64_t mostWait = std::int64_t{10} * AV_TIME_BASE;

}  // namespace

void Interleaver::start(const AVFormatContext& format) {
    queues_.resize(format.nb_streams);
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        const AVStream& track = *format.streams[index];
        queues_[index].base = track.time_base;
        queues_[index].isSparse = track.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE || isAttachedPicture(track);
    }
}

void Interleaver::push(AVPacket& packet) {
    Queue& queue = queues_[static_cast<std::size_t>(packet.stream_index)];
    const std::int64_t time = av_rescale_q(packet.dts, queue.base, microsecondBase);
    furthest_ = std::max(furthest_, time);
    PacketPointer moved = newPacket();
    av_packet_move_ref(moved.get(), &packet);
    queue.packets.push_back({std::move(moved), time});
}

PacketPointer Interleaver::pop(bool all) {
    Queue* first = nullptr;
    for (Queue& queue : queues_) {
        if (!queue.packets.empty() && (first == nullptr || queue.packets.front().time < first->packets.front().time)) {
            first = &queue;
        }
    }
    if (first == nullptr || !(all || isCertain(*first))) {
        return nullptr;
    }
    PacketPointer packet = std::move(first->packets.front().packet);
    first->packets.pop_front();
    return packet;
}

bool Interleaver::isCertain(const Queue& first) const {
    return furthest_ > first.packets.front().time + mostWait ||
           std::none_of(queues_.begin(), queues_.end(),
                        [](const Queue& queue) { return queue.packets.empty() && !queue.isSparse; });
}

}  // namespace worker
