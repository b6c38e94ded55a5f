#include "mediaconverter/worker/TranscodedTrack.h"

#include "mediaconverter/worker/Failure.h"

#include <algorithm>

namespace worker {

namespace {

using enum ConversionError;

CodecPointer openDecoder(const AVStream& source) {
    const AVCodec* const codec = avcodec_find_decoder(source.codecpar->codec_id);
    if (codec == nullptr) {
        throw Failure(codecUnknown, avcodec_get_name(source.codecpar->codec_id));
    }
    CodecPointer decoder(present(avcodec_alloc_context3(codec)));
    int result = avcodec_parameters_to_context(decoder.get(), source.codecpar);
    decoder->pkt_timebase = source.time_base;
    decoder->thread_count = 0;
    if (result >= 0) {
        result = avcodec_open2(decoder.get(), codec, nullptr);
    }
    if (result < 0) {
        throw Failure::ofLibrary(codecUnknown, result);
    }
    return decoder;
}

}  // namespace

TranscodedTrack::TranscodedTrack(const AVStream& source, AVStream& target, Timeline& timeline)
    : Track(source, target, timeline),
      decoder_(openDecoder(source)),
      decoded_(newFrame()),
      filtered_(newFrame()),
      encoded_(newPacket()) {}

void TranscodedTrack::makeEncoder(const char* name) {
    const AVCodec* const codec = avcodec_find_encoder_by_name(name);
    if (codec == nullptr) {
        throw Failure(encodingFailed, std::string(name) + " is missing");
    }
    encoder_.reset(present(avcodec_alloc_context3(codec)));
    encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    encoder_->strict_std_compliance = FF_COMPLIANCE_NORMAL;
}

void TranscodedTrack::openEncoder(AVDictionary* options) {
    int result = avcodec_open2(encoder_.get(), nullptr, &options);
    av_dict_free(&options);
    if (result >= 0) {
        result = avcodec_parameters_from_context(target().codecpar, encoder_.get());
    }
    if (result < 0) {
        throw Failure::ofLibrary(encodingFailed, result);
    }
    target().codecpar->codec_tag = 0;
    target().time_base = encoder_->time_base;
}

void TranscodedTrack::pass(AVPacket& packet, Mp4Writer& writer) {
    clock().place(packet);
    decode(&packet, writer);
}

void TranscodedTrack::end(Mp4Writer& writer) {
    decode(nullptr, writer);
    if (graph_) {
        filter(nullptr, writer);
    }
    encode(nullptr, writer);
}

void TranscodedTrack::decode(const AVPacket* packet, Mp4Writer& writer) {
    const int sent = avcodec_send_packet(decoder_.get(), packet);
    if (sent == AVERROR(ENOMEM)) {
        throw Failure(workerOutOfMemory);
    }
    if (sent < 0 && sent != AVERROR_EOF) {
        countUndecodable();
    }
    while (true) {
        const int received = avcodec_receive_frame(decoder_.get(), decoded_.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
            return;
        }
        if (received == AVERROR(ENOMEM)) {
            throw Failure(workerOutOfMemory);
        }
        if (received < 0) {
            countUndecodable();
            // A decoder that is being drained would give the same error for ever.
            if (packet == nullptr) {
                return;
            }
            continue;
        }
        if (decoded_->best_effort_timestamp != AV_NOPTS_VALUE) {
            decoded_->pts = decoded_->best_effort_timestamp;
        }
        filter(decoded_.get(), writer);
        av_frame_unref(decoded_.get());
    }
}

void TranscodedTrack::filter(AVFrame* frame, Mp4Writer& writer) {
    if (frame != nullptr && !(graph_ && isLike(*frame))) {
        if (graph_) {
            filter(nullptr, writer);
        }
        makeGraph(*frame);
        remember(*frame);
    }
    if (const int given = av_buffersrc_add_frame_flags(graphSource_, frame, AV_BUFFERSRC_FLAG_KEEP_REF); given < 0) {
        throw Failure::ofLibrary(encodingFailed, given);
    }
    drainFilters(writer);
}

void TranscodedTrack::drainFilters(Mp4Writer& writer) {
    while (true) {
        const int taken = av_buffersink_get_frame(graphSink_, filtered_.get());
        if (taken == AVERROR(EAGAIN) || taken == AVERROR_EOF) {
            return;
        }
        if (taken < 0) {
            throw Failure::ofLibrary(encodingFailed, taken);
        }
        if (filtered_->pts != AV_NOPTS_VALUE) {
            filtered_->pts = av_rescale_q(filtered_->pts, av_buffersink_get_time_base(graphSink_), encoder_->time_base);
        }
        // Encoders refuse times that stand still.
        if (lastTime_ != AV_NOPTS_VALUE && (filtered_->pts == AV_NOPTS_VALUE || filtered_->pts <= lastTime_)) {
            filtered_->pts = lastTime_ + 1;
        }
        lastTime_ = filtered_->pts;
        filtered_->pict_type = AV_PICTURE_TYPE_NONE;
        encode(filtered_.get(), writer);
        av_frame_unref(filtered_.get());
    }
}

void TranscodedTrack::encode(AVFrame* frame, Mp4Writer& writer) {
    if (const int sent = avcodec_send_frame(encoder_.get(), frame); sent < 0 && sent != AVERROR_EOF) {
        throw Failure::ofLibrary(encodingFailed, sent);
    }
    while (true) {
        const int received = avcodec_receive_packet(encoder_.get(), encoded_.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
            return;
        }
        if (received < 0) {
            throw Failure::ofLibrary(encodingFailed, received);
        }
        send(*encoded_, encoder_->time_base, writer);
    }
}

void TranscodedTrack::makeGraph(const AVFrame& frame) {
    graph_.reset(present(avfilter_graph_alloc()));
    // The frames are small work beside the encoding; threads of their own only cost.
    graph_->nb_threads = 1;
    int result = avfilter_graph_create_filter(&graphSource_, avfilter_get_by_name(sourceFilter()), "in",
                                              sourceArguments(frame).c_str(), nullptr, graph_.get());
    if (result >= 0) {
        result = avfilter_graph_create_filter(&graphSink_, avfilter_get_by_name(sinkFilter()), "out", nullptr, nullptr,
                                              graph_.get());
    }
    AVFilterInOut* ins = avfilter_inout_alloc();
    AVFilterInOut* outs = avfilter_inout_alloc();
    if (result >= 0 && ins != nullptr && outs != nullptr) {
        *outs = {av_strdup("in"), graphSource_, 0, nullptr};
        *ins = {av_strdup("out"), graphSink_, 0, nullptr};
        result = avfilter_graph_parse_ptr(graph_.get(), filters(frame).c_str(), &ins, &outs, nullptr);
    }
    avfilter_inout_free(&ins);
    avfilter_inout_free(&outs);
    if (result >= 0) {
        result = avfilter_graph_config(graph_.get(), nullptr);
    }
    if (result < 0) {
        throw Failure::ofLibrary(encodingFailed, result);
    }
    if (encoder_->codec_type == AVMEDIA_TYPE_AUDIO && encoder_->frame_size > 0) {
        av_buffersink_set_frame_size(graphSink_, static_cast<unsigned>(encoder_->frame_size));
    }
}

}  // namespace worker
