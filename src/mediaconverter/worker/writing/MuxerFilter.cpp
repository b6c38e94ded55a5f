#include "mediaconverter/worker/writing/MuxerFilter.h"

#include "mediaconverter/worker/AvPointers.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace worker {

int MuxerFilter::pass(AVPacket& packet, const std::function<int(AVPacket&)>& store) {
    if (!isChosen_) {
        isChosen_ = true;
        const char* const name = nameFor(packet);
        if (const int opened = name == nullptr ? 0 : open(name); opened < 0) {
            return opened;
        }
    }
    if (!filter_) {
        return store(packet);
    }
    int result = av_bsf_send_packet(filter_.get(), &packet);
    while (result >= 0) {
        result = av_bsf_receive_packet(filter_.get(), &packet);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return 0;
        }
        result = result < 0 ? result : store(packet);
        av_packet_unref(&packet);
    }
    return result;
}

const char* MuxerFilter::nameFor(const AVPacket& first) const {
    // The header of ADTS starts with twelve ones (ISO/IEC 13818-7, 6.2.1).
    constexpr unsigned sync = 0xFFF0;
    switch (track_->codecpar->codec_id) {
    case AV_CODEC_ID_AAC:
        return first.size > 2 && (AV_RB16(first.data) & sync) == sync ? "aac_adtstoasc" : nullptr;
    case AV_CODEC_ID_VP9:
        return "vp9_superframe";
    default:
        return nullptr;
    }
}

int MuxerFilter::open(const char* name) {
    const AVBitStreamFilter* const kind = av_bsf_get_by_name(name);
    if (kind == nullptr) {
        return AVERROR_BSF_NOT_FOUND;
    }
    AVBSFContext* context = nullptr;
    if (const int made = av_bsf_alloc(kind, &context); made < 0) {
        return made;
    }
    filter_.reset(context);
    context->time_base_in = track_->time_base;
    const int copied = avcodec_parameters_copy(context->par_in, track_->codecpar);
    return copied < 0 ? copied : av_bsf_init(context);
}

}  // namespace worker
