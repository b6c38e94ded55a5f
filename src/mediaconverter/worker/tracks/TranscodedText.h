#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/tracks/Track.h"

#include <vector>

namespace worker {

/// Converts subtitles of any text format to the one that MP4 has.
class TranscodedText final : public Track {
public:
    TranscodedText(const AVStream& source, AVStream& target, Timeline& timeline);

private:
    void pass(AVPacket& packet, Mp4Writer& writer) override;

    CodecPointer decoder_;
    CodecPointer encoder_;
    std::vector<std::uint8_t> encoded_;
};

}  // namespace worker
