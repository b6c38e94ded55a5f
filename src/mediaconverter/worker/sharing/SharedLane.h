#pragma once

#include "mediaconverter/worker/reading/Beginning.h"
#include "mediaconverter/worker/reading/Recording.h"
#include "mediaconverter/worker/sharing/SharedFile.h"
#include "mediaconverter/worker/sharing/SharedPackets.h"
#include "mediaconverter/worker/tracks/TrackChoice.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace worker {

/// A conversion in which the payload of all packets stays where it is: the MP4 is an index in front of the recording's
/// own bytes.
class SharedLane {
public:
    /// Throws NotShareable if the recording does not qualify. `recording` and `beginning`, from which no packet has
    /// been read yet, must outlive it.
    SharedLane(int source, int output, const Recording& recording, Beginning& beginning, const TrackChoice& choice);

    /// Whether recordings of this format can qualify at all.
    static bool isPossible(const AVFormatContext& format);

    /// The next packet; false at the end. Throws NotShareable.
    bool read(AVPacket& packet) { return packets_.read(packet); }

    /// How much of the recording has been read, 0 to 1.
    double fractionRead() const { return packets_.fractionRead(); }

    /// Whether the MP4 takes no room for its data.
    bool sharesBlocks() const { return sharesBlocks_; }

    /// What the muxer writes to; call once. It must not outlive this.
    std::unique_ptr<MuxerFile> makeFile();

    /// Proves the finished MP4. Throws NotShareable.
    void prove() const;

private:
    const AVFormatContext& format_;
    int source_;
    int output_;
    std::int64_t size_;
    std::vector<int> trackOfStream_;
    SharedPackets packets_;
    bool sharesBlocks_;
    const SharedFile* file_ = nullptr;
};

}  // namespace worker
