#include "mediaconverter/worker/accounting/TransportScan.h"

#include <algorithm>
#include <string>

namespace worker {

namespace {

constexpr std::int64_t packetSize = 188;
constexpr std::uint8_t sync = 0x47;
constexpr std::uint32_t nullIdentifier = 0x1FFF;

/// Packets alone, each with a time stamp before it (Blu-ray, camcorders), each with check bytes after it (DVB).
constexpr std::int64_t strides[] = {188, 192, 204};

constexpr int convincingAtTheStart = 5;
constexpr int convincingAfterDamage = 3;
constexpr std::int64_t searchStep = std::int64_t{64} * 1024;

/// Size of the header of a packet of the stream (2.4.3.6); none if it is incomplete.
std::optional<std::size_t> headerOf(std::span<const std::uint8_t> payload) {
    constexpr std::size_t start = 6;
    constexpr std::size_t withFlags = 9;
    constexpr std::uint8_t firstWithoutFlags[] = {0xBC, 0xBF, 0xF0, 0xF1, 0xF2, 0xF8, 0xFF};
    if (payload.size() < start) {
        return std::nullopt;
    }
    if (std::find(std::begin(firstWithoutFlags), std::end(firstWithoutFlags), payload[3]) !=
        std::end(firstWithoutFlags)) {
        return start;
    }
    if (payload.size() < withFlags || withFlags + payload[8] > payload.size()) {
        return std::nullopt;
    }
    return withFlags + payload[8];
}

}  // namespace

void TransportScan::advance(std::int64_t end) {
    if (stride_ == 0 && (isStartOdd_ || !findStride())) {
        isStartOdd_ = true;
        return;
    }
    while (position_ + packetSize <= end) {
        step();
    }
}

void TransportScan::finish() {
    if (stride_ == 0 && !findStride()) {
        ledger_.addLost(0, view_.size(), "data without transport stream packets");
        position_ = view_.size();
    }
    while (position_ < view_.size()) {
        step();
    }
    for (const auto& [identifier, stream] : streams_) {
        if (stream.bytes > 0) {
            ledger_.addPayload(identifier, stream.bytes, 0);
        }
        if (stream.isPes && stream.early > 0) {
            ledger_.addNote(std::to_string(stream.early) + " bytes of stream " + std::to_string(identifier) +
                            " belong to a packet that began before the recording");
        }
    }
}

/// Data before the first packet is the rest of one that started before the recording.
bool TransportScan::findStride() {
    const std::int64_t most = std::min<std::int64_t>(view_.size(), searchStep);
    for (std::int64_t start = 0; start < most; ++start) {
        for (const std::int64_t stride : strides) {
            stride_ = stride;
            if (findSync(start, convincingAtTheStart) == start) {
                position_ = start;
                return true;
            }
        }
    }
    stride_ = 0;
    return false;
}

std::optional<std::int64_t> TransportScan::findSync(std::int64_t position, int convincing) {
    int count = 0;
    for (std::int64_t at = position; count < convincing && at < view_.size(); at += stride_, ++count) {
        const auto byte = view_.at(at, 1);
        if (byte.empty() || byte[0] != sync) {
            return std::nullopt;
        }
    }
    return count > 0 ? std::optional(position) : std::nullopt;
}

void TransportScan::step() {
    const auto packet = view_.at(position_, packetSize);
    if (packet.size() < static_cast<std::size_t>(packetSize)) {
        ledger_.addCut(static_cast<std::int64_t>(packet.size()), packetSize);
        position_ = view_.size();
    } else if (packet[0] != sync) {
        passDamage();
    } else {
        readPacket(packet);
        position_ += stride_;
    }
}

void TransportScan::passDamage() {
    const std::int64_t start = position_;
    if (view_.firstNonZero(start) == view_.size()) {
        ledger_.addZeroTail(view_.size() - start);
        position_ = view_.size();
        return;
    }
    for (++position_; position_ < view_.size(); ++position_) {
        if (findSync(position_, convincingAfterDamage)) {
            break;
        }
    }
    ledger_.addLost(start, std::min(position_, view_.size()), "data without transport stream packets");
}

void TransportScan::readPacket(std::span<const std::uint8_t> packet) {
    constexpr std::size_t header = 4;
    const auto identifier = static_cast<std::uint32_t>((packet[1] & 0x1FU) << 8U | packet[2]);
    if (identifier == nullIdentifier) {
        return;
    }
    if ((packet[1] & 0x80U) != 0) {
        ledger_.addLost(position_, position_ + packetSize, "a packet that its receiver has marked as damaged");
    }
    const bool hasField = (packet[3] & 0x20U) != 0;
    const bool hasPayload = (packet[3] & 0x10U) != 0;
    Stream& stream = streams_[identifier];
    checkCounter(stream, packet, hasPayload);
    const std::size_t start = header + (hasField ? 1U + packet[header] : 0U);
    if (start > packet.size()) {
        ledger_.addLost(position_, position_ + packetSize, "a packet whose header is longer than itself");
    } else if (hasPayload) {
        addPayload(stream, packet.subspan(start), (packet[1] & 0x40U) != 0);
    }
}

void TransportScan::checkCounter(Stream& stream, std::span<const std::uint8_t> packet, bool hasPayload) {
    constexpr int counters = 16;
    const bool hasField = (packet[3] & 0x20U) != 0;
    const bool isAnnounced = hasField && packet[4] > 0 && (packet[5] & 0x80U) != 0;
    const int counter = packet[3] & 0x0F;
    const int expected = hasPayload ? (stream.counter + 1) % counters : stream.counter;
    if (stream.counter >= 0 && counter != expected && !isAnnounced) {
        ledger_.addLost(position_, position_, "packets are missing here: their counter jumps");
    }
    stream.counter = counter;
}

void TransportScan::addPayload(Stream& stream, std::span<const std::uint8_t> payload, bool isStart) {
    std::size_t header = 0;
    if (isStart) {
        const bool isPes = payload.size() >= 3 && payload[0] == 0 && payload[1] == 0 && payload[2] == 1;
        if (!isPes && stream.isPes) {
            ledger_.addLost(position_, position_ + packetSize, "a packet of a stream without its beginning");
        }
        stream.isPes = stream.isPes || isPes;
        const auto found = headerOf(payload);
        stream.isCounted = stream.isCounted && (!isPes || found);
        header = found.value_or(0);
    }
    const auto bytes = static_cast<std::int64_t>(payload.size() - std::min(header, payload.size()));
    if (!stream.isPes) {
        stream.early += isStart ? 0 : bytes;
    } else if (stream.isCounted) {
        stream.bytes += bytes;
    }
}

std::vector<Expectation> TransportScan::expectations(const AVFormatContext& format) const {
    auto expected = expectBytesById(ledger_, format);
    const auto isUncertain = [&](const Expectation& one) {
        const int id = format.streams[one.stream]->id;
        const auto stream = streams_.find(static_cast<std::uint32_t>(id));
        const auto sharing = std::count_if(format.streams, format.streams + format.nb_streams,
                                           [id](const AVStream* other) { return other->id == id; });
        return stream == streams_.end() || !stream->second.isCounted || sharing > 1;
    };
    std::erase_if(expected, isUncertain);
    for (Expectation& one : expected) {
        // The library removes the control headers.
        if (format.streams[one.stream]->codecpar->codec_id == AV_CODEC_ID_OPUS) {
            one.bytes = -1;
        }
    }
    return expected;
}

}  // namespace worker
