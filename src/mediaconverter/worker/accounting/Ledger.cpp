#include "mediaconverter/worker/accounting/Ledger.h"

#include <algorithm>

namespace worker {

namespace {

/// More would make the log hard to read.
constexpr std::size_t mostNotes = 8;

constexpr std::size_t mostRanges = 1000;

}  // namespace

void Ledger::addPayload(std::uint32_t stream, std::int64_t length, std::int64_t units) {
    Payload& payload = payloads_[stream];
    payload.bytes += length;
    payload.units += units;
}

void Ledger::addLost(std::int64_t start, std::int64_t end, const std::string& what) {
    if (lostPlaces_++ == 0) {
        firstLost_ = "bytes " + std::to_string(start) + " to " + std::to_string(end) + ": " + what;
    }
    if (start < end && lostRanges_.size() < mostRanges) {
        lostRanges_.push_back({start, end});
    }
    lostBytes_ += std::max<std::int64_t>(end - start, 0);
}

void Ledger::addNote(const std::string& text) {
    if (notes_.size() < mostNotes) {
        notes_.push_back(text);
    }
}

void Ledger::addZeroTail(std::int64_t bytes) {
    addNote("the last " + std::to_string(bytes) + " bytes are all zero, as left by a system crash");
}

void Ledger::addCut(std::int64_t have, std::int64_t whole) {
    addNote("the recording ends in the middle of its last packet, after " + std::to_string(have) + " of " +
            std::to_string(whole) + " bytes");
}

std::string Ledger::lost() const {
    if (lostPlaces_ < 2) {
        return firstLost_;
    }
    return firstLost_ + " (" + std::to_string(lostPlaces_) + " places, " + std::to_string(lostBytes_) +
           " bytes in all)";
}

}  // namespace worker
