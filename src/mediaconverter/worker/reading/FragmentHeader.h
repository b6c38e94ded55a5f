#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <vector>

namespace worker {

/// What the header of a fragment says about one track.
struct TrackFragment {
    std::uint32_t track = 0;
    std::optional<std::uint64_t> base;        ///< byte of the file from which its data is counted, if given
    std::optional<std::uint64_t> decodeTime;  ///< of the first sample, in the track's time scale
    std::optional<std::uint64_t> duration;    ///< of all samples; unknown if a default of the file applies
    std::uint64_t samples = 0;
};

/// Samples whose data is contiguous.
struct SampleRun {
    std::uint64_t offset = 0;      ///< of its data, from the track's base
    std::uint64_t sizeBefore = 0;  ///< of the data of all runs before it
};

/// The header of one fragment of a fragmented MP4: the box `moof` (ISO/IEC 14496-12, 8.8.4 to 8.8.8 and 8.8.12).
struct FragmentHeader {
    std::vector<TrackFragment> tracks;
    std::optional<std::uint64_t> dataSize;  ///< of all samples, in bytes; unknown if a default of the file applies
    std::vector<SampleRun> runs;            ///< those that say where their data is
};

/// `box` is a complete `moof`. None if its boxes do not fill it, or its tables do not fill their boxes: a demuxer would
/// stop there.
std::optional<FragmentHeader> parseFragmentHeader(std::span<const std::uint8_t> box);

/// The tracks for which a complete `moov` announces fragments (`trex`, 8.8.3); empty if there are none, or it is
/// damaged.
std::set<std::uint32_t> fragmentedTracks(std::span<const std::uint8_t> box);

}  // namespace worker
