#include "mediaconverter/worker/reading/FlvTrail.h"

#include "mediaconverter/worker/reading/FlvTags.h"

#include <algorithm>

namespace worker {

namespace {

/// The most bytes that a tag adds to its packet.
constexpr std::int64_t mostOverhead = 24;

/// A chain that breaks more often is not worth following.
constexpr int mostBreaks = 256;

}  // namespace

std::string FlvTrail::follow(const AVPacket& packet) {
    if (packet.pos < 0) {
        return {};
    }
    std::string skipped;
    if (packetStart_ >= 0 && packet.pos > packetEnd_ + mostOverhead &&
        isFlvContentBetween(reader_, packetStart_, packet.pos)) {
        skipped = "after byte " + std::to_string(packetEnd_) + ": tags of no known kind";
    }
    packetStart_ = packet.pos;
    packetEnd_ = std::max(packetEnd_, packet.pos + packet.size);
    return skipped;
}

std::optional<std::int64_t> FlvTrail::findMore() {
    return packetStart_ < 0 || breaks_++ >= mostBreaks ? std::nullopt : nextFlvContent(reader_, packetStart_ + 1);
}

std::string FlvTrail::gap() const {
    return "after byte " + std::to_string(packetStart_) + ": the chain of tags is broken";
}

}  // namespace worker
