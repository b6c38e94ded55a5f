#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace worker {

/// One packet that stays where it is.
struct ListedPacket {
    std::int64_t position = 0;      ///< of its payload in the recording, in bytes
    std::int64_t time = 0;          ///< of presentation, in the recording's ticks
    std::int64_t decodingTime = 0;  ///< in the MP4, in the track's time base; set when it is stored
    std::uint32_t size = 0;         ///< of its payload, in bytes
    bool isKey = false;
};

/// The packets of a recording: per track of the MP4, in the order of the file.
struct PacketList {
    struct Track {
        std::vector<ListedPacket> packets;
        std::size_t stored = 0;  ///< number of these that the muxer has accepted
    };

    /// A part of the recording that can be read without the others.
    struct Cluster {
        std::int64_t position = 0;         ///< in bytes
        std::vector<std::uint32_t> first;  ///< per track, the index of its first packet in the cluster
    };

    std::vector<Track> tracks;  ///< those that are not in the data have no packets
    std::vector<Cluster> clusters;
};

}  // namespace worker
