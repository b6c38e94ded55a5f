#pragma once

#include "mediaconverter/worker/Foreknowledge.h"
#include "mediaconverter/worker/tracks/TranscodedTrack.h"

namespace worker {

/// Chooses for each stream whether its packets are copied or re-encoded, given what earlier attempts have shown.
class TrackChoice {
public:
    /// Both must outlive it.
    TrackChoice(const AVFormatContext& format, const Foreknowledge& known) : format_(format), known_(known) {}

    /// For a stream that an MP4 can hold: whether it is copied.
    bool isCopied(const AVStream& stream) const;

    /// How a stream is re-encoded.
    FormPlan planFor(const AVStream& stream) const;

private:
    int countReencodedVideos() const;

    const AVFormatContext& format_;
    const Foreknowledge& known_;
};

}  // namespace worker
