#pragma once

#include "mediaconverter/worker/proof/TrackDigest.h"
#include "mediaconverter/worker/reading/SourceReader.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <memory>
#include <vector>

namespace worker {

/// Reads the samples of a finished MP4 where the library's demuxer finds them: all tracks at once, in the order of the
/// file, so that each byte is read once and in sequence. The demuxer's own way to read them takes three times as long,
/// because it allocates a packet for each.
class SampleReader {
public:
    /// `file` must outlive it.
    explicit SampleReader(const SourceReader& file);

    /// Adds a track, whose stream must outlive this. Samples of fewer than `leastSize` bytes do not count.
    void addTrack(AVStream& stream, std::int64_t leastSize);

    /// Reads everything; false if a sample is beyond the end of the file or cannot be read.
    bool read();

    /// What was read of a track, by the order in which they were added.
    const TrackDigest& digest(std::size_t track) const { return tracks_[track].digest; }

private:
    struct Track {
        AVStream* stream;
        std::int64_t leastSize;
        int entries;
        int next = 0;
        const AVIndexEntry* entry = nullptr;  ///< the next one; null after the last
        TrackDigest digest;
    };

    static void advance(Track& track);
    Track* trackOfNextSample();
    bool readPayload(TrackDigest& digest, std::int64_t position, std::int64_t size);
    bool fill(std::int64_t position);

    const SourceReader& file_;
    std::vector<Track> tracks_;
    std::unique_ptr<std::uint8_t[]> block_;
    std::int64_t start_ = 0;  ///< of the block, in the file
    std::int64_t end_ = 0;
};

}  // namespace worker
