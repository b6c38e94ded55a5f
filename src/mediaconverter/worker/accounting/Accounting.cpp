#include "mediaconverter/worker/accounting/Accounting.h"

#include "mediaconverter/worker/accounting/ScanChoice.h"
#include "mediaconverter/worker/accounting/WholeFrame.h"

#include <algorithm>

namespace worker {

namespace {

/// The scan itself reads a small gap between its position and what the library reads; after a larger jump it waits,
/// because the library usually comes back.
constexpr std::int64_t mostOwnReading = std::int64_t{256} * 1024;

}  // namespace

Corrections Accounting::begin(const AVInputFormat& format) {
    scan_ = makeScan(format, view_, ledger_);
    return scan_ ? scan_->corrections() : Corrections();
}

void Accounting::follow(std::int64_t position, std::span<const std::uint8_t> bytes) {
    const std::int64_t end = position + static_cast<std::int64_t>(bytes.size());
    if (!scan_ || scan_->position() >= end || scan_->position() + mostOwnReading < position) {
        return;
    }
    view_.lend(position, bytes);
    scan_->advance(end);
    view_.withdraw();
}

bool Accounting::dropZeroTail(AVPacket& packet, const AVStream& stream) {
    const std::span<const std::uint8_t> bytes(packet.data, static_cast<std::size_t>(packet.size));
    if (packet.pos < 0) {
        return false;
    }
    if (PayloadCheck::isEmpty(bytes, *stream.codecpar) && isZeroFrom(packet.pos)) {
        av_packet_unref(&packet);
        return true;
    }
    const int zeros = zerosAfterFrame(*stream.codecpar, packet);
    if (zeros > 0 && isZeroFrom(packet.pos + packet.size - zeros)) {
        av_shrink_packet(&packet, packet.size - zeros);
    }
    return false;
}

bool Accounting::isZeroFrom(std::int64_t position) {
    if (position >= view_.size()) {
        return false;
    }
    if (position < zeros_.start || position >= zeros_.end) {
        zeros_ = {position, view_.firstNonZero(position)};
    }
    return zeros_.end == view_.size();
}

void Accounting::addDelivered(const AVPacket& packet, const AVStream& stream) {
    const auto index = static_cast<std::size_t>(stream.index);
    if (index >= delivered_.size()) {
        delivered_.resize(index + 1);
    }
    Delivered& delivered = delivered_[index];
    ++delivered.payload.units;
    delivered.payload.bytes += packet.size;
    if (!delivered.check) {
        delivered.check.emplace(stream);
    }
    delivered.check->add({packet.data, static_cast<std::size_t>(packet.size)}, packet.pos);
    if (scan_) {
        scan_->addDelivered(packet, stream);
    }
}

void Accounting::addCut(const AVPacket& packet, const AVStream& stream) {
    const auto index = static_cast<std::size_t>(stream.index);
    delivered_.resize(std::max(delivered_.size(), index + 1));
    ++delivered_[index].payload.units;
    delivered_[index].payload.bytes += packet.size;
    ledger_.addNote("the last packet of stream " + std::to_string(index) + " was cut off after " +
                    std::to_string(packet.size) + " bytes");
}

void Accounting::settle(const AVFormatContext& format) {
    delivered_.resize(std::max<std::size_t>(delivered_.size(), format.nb_streams));
    reportDamagedPackets();
    if (!scan_) {
        ledger_.addLost(0, 0, "this format does not show whether all of it has been read");
        return;
    }
    scan_->finish();
    for (const Expectation& expected : scan_->expectations(format)) {
        if (expected.stream >= format.nb_streams) {
            ledger_.addLost(0, 0,
                            "data of stream " + std::to_string(expected.stream) + ", which the header does not name");
        } else if (format.streams[expected.stream]->discard != AVDISCARD_ALL) {
            compare(expected);
        }
    }
}

std::vector<Patch> Accounting::patches() const {
    std::vector<Patch> patches;
    if (hasMissed_) {
        for (const ByteRange& lost : ledger_.lostRanges()) {
            const auto more = scan_->patchesOver(lost);
            patches.insert(patches.end(), more.begin(), more.end());
        }
    }
    return patches;
}

void Accounting::reportDamagedPackets() {
    for (std::size_t index = 0; index < delivered_.size(); ++index) {
        const auto& check = delivered_[index].check;
        if (check && check->damaged() > 0) {
            const std::int64_t position = std::max<std::int64_t>(check->firstPosition(), 0);
            ledger_.addLost(position, position,
                            "holes or noise in " + std::to_string(check->damaged()) + " packets of stream " +
                                std::to_string(index));
        }
    }
}

void Accounting::compare(const Expectation& expected) {
    const Ledger::Payload& have = delivered_[expected.stream].payload;
    const std::int64_t packets = expected.packets - have.units;
    const std::int64_t bytes = expected.bytes - have.bytes;
    if (packets <= 0 && bytes <= 0) {
        return;
    }
    const std::string missing =
        (packets > 0 ? std::to_string(packets) + " packets" : std::to_string(bytes) + " bytes") + " of stream " +
        std::to_string(expected.stream);
    if (expected.mayBeHidden) {
        ledger_.addNote(missing + " are hidden by the recording's own edit list and left out");
    } else {
        hasMissed_ = true;
        ledger_.addLost(0, 0, missing + " could not be made out");
    }
}

}  // namespace worker
