#pragma once

extern "C" {
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
}

#include <functional>
#include <memory>

namespace worker {

/// Brings the packets of one track into the form that an MP4 holds, where the muxer would otherwise do it itself: AAC
/// loses its ADTS headers, and frames of VP9 that are not shown are joined with the next one. Other packets pass
/// unchanged. Done here, so that what goes into the muxer is what it stores, and can be compared.
class MuxerFilter {
public:
    /// `track` must outlive this, and be complete before the first packet.
    explicit MuxerFilter(const AVStream& track) : track_(&track) {}

    /// Calls `store` for each packet that `packet` completes, which may be none. Returns 0, or the first negative error
    /// number of the library or of `store`. The packet's content may have moved out.
    int pass(AVPacket& packet, const std::function<int(AVPacket&)>& store);

private:
    struct Deleter {
        void operator()(AVBSFContext* context) const { av_bsf_free(&context); }
    };

    /// The name of the filter for a track that starts with this packet; null if it needs none.
    const char* nameFor(const AVPacket& first) const;
    int open(const char* name);

    const AVStream* track_;
    std::unique_ptr<AVBSFContext, Deleter> filter_;
    bool isChosen_ = false;
};

}  // namespace worker
