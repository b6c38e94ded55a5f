#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace worker {

/// The position of a sample according to an index.
struct Mp4Sample {
    std::uint32_t track = 0;
    std::int64_t position = 0;
    std::int64_t size = 0;
};

using Mp4SampleVisitor = std::function<void(const Mp4Sample&)>;

/// What the index of an MP4 says about one track.
struct Mp4Track {
    std::uint32_t id = 0;
    bool hasEdits = false;
    std::uint32_t usualSize = 0;  ///< of a sample in a fragment (`trex`)
};

/// The tracks in the content of `moov`.
std::vector<Mp4Track> readMp4Tracks(std::span<const std::uint8_t> moov);

/// Visits the samples in the tables of `moov` (ISO/IEC 14496-12, 8.7), track by track. False if the tables contradict
/// each other. Samples of one fixed size are visited one chunk at a time.
bool visitMp4Samples(std::span<const std::uint8_t> moov, const Mp4SampleVisitor& visit);

/// Visits the samples of the fragment whose `moof` starts at `start` (8.8). False if it is malformed.
bool visitMp4Fragment(std::span<const std::uint8_t> moof, std::int64_t start, const std::vector<Mp4Track>& tracks,
                      const Mp4SampleVisitor& visit);

}  // namespace worker
