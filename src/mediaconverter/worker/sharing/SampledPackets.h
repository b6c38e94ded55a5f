#pragma once

#include "mediaconverter/worker/accounting/ByteRanges.h"
#include "mediaconverter/worker/sharing/PacketList.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace worker {

/// A sample of a recording's packets: whole clusters, spread evenly, with at least 64 packets of each track (or all),
/// the first and the last among them.
class SampledPackets {
public:
    /// `list` must outlive it.
    explicit SampledPackets(const PacketList& list);

    /// What lies between the clusters of the sample, in bytes of the recording.
    const std::vector<ByteRange>& gaps() const { return gaps_; }

    /// The sample's next packet of the track; null if there are no more.
    const ListedPacket* next(std::size_t track);

private:
    std::uint32_t endOf(std::size_t cluster, std::size_t track) const;
    void addNecessary(std::vector<bool>& chosen) const;
    bool isEnough(const std::vector<bool>& chosen) const;

    const PacketList& list_;
    std::vector<ByteRange> gaps_;
    std::vector<std::vector<std::uint32_t>> packets_;  ///< per track
    std::vector<std::size_t> next_;                    ///< per track
};

}  // namespace worker
