#include "mediaconverter/worker/reading/Beginning.h"

#include "mediaconverter/worker/times/SourceTimes.h"
#include "mediaconverter/worker/times/Timeline.h"
#include "mediaconverter/worker/tracks/TrackPlan.h"

#include <algorithm>
#include <map>

namespace worker {

namespace {

constexpr std::size_t mostPackets = 512;
constexpr std::int64_t mostBytes = std::int64_t{4} * 1024 * 1024;

/// Frames that may be shown before the one that is decoded first: the most that a decoder holds back (ITU-T H.264,
/// A.3.1, and ITU-T H.265, A.4.2).
constexpr std::size_t mostReordered = 16;

/// Times that differ by less are equal but for rounding to milliseconds.
constexpr std::int64_t sameTime = AV_TIME_BASE / 1000;

bool isShown(const AVStream& stream) {
    return isContent(stream) && stream.discard < AVDISCARD_ALL;
}

/// The number of packets that suffice to know the start time of the stream.
std::size_t enoughOf(const AVStream& stream) {
    if (!isShown(stream)) {
        return 0;
    }
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO ? mostReordered + 1 : 1;
}

}  // namespace

Beginning::Beginning(Recording& recording) : recording_(recording) {
    const AVFormatContext& format = recording_.format();
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        const AVStream& stream = *format.streams[index];
        if (!recording_.givesPresentationTimes() && isShown(stream) && PictureOrder::isPossible(stream)) {
            orders_.try_emplace(stream.index, stream, recording_.timesOfPictures());
        }
    }
    readAhead();
    findTime();
}

void Beginning::readAhead() {
    const AVFormatContext& format = recording_.format();
    std::vector<std::size_t> missing;
    std::int64_t bytes = 0;
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        missing.push_back(enoughOf(*format.streams[index]));
    }
    const auto isMissing = [](std::size_t count) { return count > 0; };
    while (packets_.size() < mostPackets && bytes < mostBytes &&
           std::any_of(missing.begin(), missing.end(), isMissing)) {
        const std::size_t have = packets_.size();
        if (!readOn()) {
            return;
        }
        for (std::size_t added = have; added < packets_.size(); ++added) {
            bytes += packets_[added]->size;
            const auto index = static_cast<std::size_t>(packets_[added]->stream_index);
            if (index < missing.size() && missing[index] > 0) {
                --missing[index];
            }
        }
    }
}

bool Beginning::readOn() {
    if (isAtEnd_) {
        return false;
    }
    PacketPointer packet = newPacket();
    if (recording_.read(*packet)) {
        put(std::move(packet));
        return true;
    }
    isAtEnd_ = true;
    for (auto& [index, order] : orders_) {
        order.finish();
        popReadyFrom(order);
    }
    return !packets_.empty();
}

void Beginning::put(PacketPointer packet) {
    const auto found = orders_.find(packet->stream_index);
    if (found == orders_.end()) {
        packets_.push_back(std::move(packet));
        return;
    }
    found->second.put(std::move(packet));
    popReadyFrom(found->second);
}

void Beginning::popReadyFrom(PictureOrder& order) {
    while (PacketPointer packet = order.pop()) {
        packets_.push_back(std::move(packet));
    }
}

void Beginning::findTime() {
    const AVFormatContext& format = recording_.format();
    std::map<int, SourceTimes> streams;
    for (const PacketPointer& packet : packets_) {
        const AVStream& stream = *format.streams[packet->stream_index];
        if (isShown(stream)) {
            streams.try_emplace(stream.index, stream).first->second.add(*packet);
        }
    }
    std::int64_t earliest = INT64_MAX;
    for (const auto& [index, times] : streams) {
        earliest = std::min(earliest, times.earliest());
    }
    if (earliest == INT64_MAX) {
        return;
    }
    time_ = earliest;
    for (const auto& [index, times] : streams) {
        if (times.earliest() != INT64_MAX && times.earliest() - earliest <= sameTime) {
            time_ = std::max(time_, times.earliest());
        }
    }
}

std::vector<std::int64_t> Beginning::timesOf(int stream) const {
    std::vector<std::int64_t> times;
    for (const PacketPointer& packet : packets_) {
        if (packet->stream_index == stream && packet->pts != AV_NOPTS_VALUE) {
            times.push_back(packet->pts);
        }
    }
    return times;
}

bool Beginning::read(AVPacket& packet) {
    if (packets_.empty() && orders_.empty()) {
        return recording_.read(packet);
    }
    while (packets_.empty()) {
        if (!readOn()) {
            return false;
        }
    }
    av_packet_move_ref(&packet, packets_.front().get());
    packets_.pop_front();
    return true;
}

}  // namespace worker
