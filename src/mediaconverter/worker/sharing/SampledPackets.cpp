#include "mediaconverter/worker/sharing/SampledPackets.h"

#include <algorithm>

namespace worker {

namespace {

constexpr std::size_t leastPackets = 64;
constexpr std::size_t leastClusters = 8;

}  // namespace

SampledPackets::SampledPackets(const PacketList& list)
    : list_(list), packets_(list.tracks.size()), next_(list.tracks.size()) {
    const std::size_t count = list_.clusters.size();
    std::vector<bool> chosen(count);
    for (std::size_t wanted = leastClusters;; wanted *= 2) {
        for (std::size_t index = 0; index < std::min(wanted, count); ++index) {
            chosen[wanted >= count ? index : index * (count - 1) / (wanted - 1)] = true;
        }
        addNecessary(chosen);
        if (wanted >= count || isEnough(chosen)) {
            break;
        }
    }
    for (std::size_t cluster = 0; cluster < count; ++cluster) {
        if (!chosen[cluster]) {
            // The last cluster is always chosen.
            const ByteRange range = {list_.clusters[cluster].position, list_.clusters[cluster + 1].position};
            if (gaps_.empty() || gaps_.back().end != range.start) {
                gaps_.push_back(range);
            }
            gaps_.back().end = range.end;
            continue;
        }
        for (std::size_t track = 0; track < packets_.size(); ++track) {
            for (std::uint32_t packet = list_.clusters[cluster].first[track]; packet < endOf(cluster, track);
                 ++packet) {
                packets_[track].push_back(packet);
            }
        }
    }
}

std::uint32_t SampledPackets::endOf(std::size_t cluster, std::size_t track) const {
    return cluster + 1 < list_.clusters.size() ? list_.clusters[cluster + 1].first[track]
                                               : static_cast<std::uint32_t>(list_.tracks[track].packets.size());
}

/// The clusters with the first and the last packet of each track, and the last cluster.
void SampledPackets::addNecessary(std::vector<bool>& chosen) const {
    for (std::size_t track = 0; track < packets_.size(); ++track) {
        const auto packets = static_cast<std::uint32_t>(list_.tracks[track].packets.size());
        for (std::size_t cluster = 0; cluster < chosen.size(); ++cluster) {
            const std::uint32_t first = list_.clusters[cluster].first[track];
            const std::uint32_t end = endOf(cluster, track);
            if (first < end && (first == 0 || end == packets)) {
                chosen[cluster] = true;
            }
        }
    }
    if (!chosen.empty()) {
        chosen.back() = true;
    }
}

bool SampledPackets::isEnough(const std::vector<bool>& chosen) const {
    for (std::size_t track = 0; track < packets_.size(); ++track) {
        std::size_t count = 0;
        for (std::size_t cluster = 0; cluster < chosen.size(); ++cluster) {
            count += chosen[cluster] ? endOf(cluster, track) - list_.clusters[cluster].first[track] : 0;
        }
        if (count < std::min(leastPackets, list_.tracks[track].packets.size())) {
            return false;
        }
    }
    return true;
}

const ListedPacket* SampledPackets::next(std::size_t track) {
    std::size_t& next = next_[track];
    return next == packets_[track].size() ? nullptr : &list_.tracks[track].packets[packets_[track][next++]];
}

}  // namespace worker
