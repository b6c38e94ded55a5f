#include "mediaconverter/worker/tracks/TranscodedTrack.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/Foreknowledge.h"
#include "mediaconverter/worker/tracks/CodecThreads.h"
#include "mediaconverter/worker/tracks/Decoder.h"

extern "C" {
#include <libavutil/cpu.h>
}

#include <algorithm>

namespace worker {

namespace {

using enum ConversionError;

/// No level of any video codec exceeds this size; a header that does is damaged.
constexpr std::int64_t mostPixels = std::int64_t{8192} * 8192;

/// This many equal audio frames in a row establish a form; fewer may come from a damaged header.
constexpr int leastFramesAlike = 3;

CodecPointer openLimitedDecoder(const AVStream& source, const FormPlan& plan) {
    return openDecoder(source, [&plan](AVCodecContext& decoder) {
        decoder.thread_count = codecThreadsFor(plan.form.mostPixels, av_cpu_count(), plan.videoTracks).decoder;
        decoder.max_pixels = mostPixels;
    });
}

/// A filter or encoder that fails this often without a frame in between does not work at all.
constexpr int mostFailuresInARow = 100;

}  // namespace

TranscodedTrack::TranscodedTrack(const AVStream& source, AVStream& target, Timeline& timeline, const FormPlan& plan)
    : Track(source, target, timeline),
      plan_(plan),
      decoder_(openLimitedDecoder(source, plan)),
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
    copySideData();
}

void TranscodedTrack::pass(AVPacket& packet, Mp4Writer& writer) {
    clock().place(packet);
    if (source().codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
        witness().add(packet);
    }
    decode(&packet, [&](AVFrame& frame) { convert(frame, writer); });
}

void TranscodedTrack::survey(const AVPacket* packet) {
    decode(packet, [this](AVFrame& frame) {
        if (isSettled(frame)) {
            seen_.widen(frame);
        }
    });
}

void TranscodedTrack::convert(AVFrame& frame, Mp4Writer& writer) {
    if (isSettled(frame)) {
        seen_.widen(frame);
        if (plan_.mayGrow && !plan_.form.holds(frame)) {
            throw OutgrownForm{};
        }
    }
    if (frame.best_effort_timestamp != AV_NOPTS_VALUE) {
        frame.pts = frame.best_effort_timestamp;
    }
    // Not every video packet is a frame.
    if (source().codecpar->codec_type == AVMEDIA_TYPE_VIDEO && frame.pts != AV_NOPTS_VALUE) {
        witness().addPicture(frame.pts);
    }
    inspect(frame);
    if (isAfterPause(frame)) {
        endFilters(writer);
    }
    filter(&frame, writer);
}

bool TranscodedTrack::isSettled(const AVFrame& frame) {
    if (encoder_->codec_type != AVMEDIA_TYPE_AUDIO) {
        return true;
    }
    const bool isAlike = frame.sample_rate == lastRate_ && frame.ch_layout.nb_channels == lastChannels_;
    framesAlike_ = isAlike ? framesAlike_ + 1 : 1;
    lastRate_ = frame.sample_rate;
    lastChannels_ = frame.ch_layout.nb_channels;
    return framesAlike_ >= leastFramesAlike;
}

void TranscodedTrack::end(Mp4Writer& writer) {
    decode(nullptr, [&](AVFrame& frame) { convert(frame, writer); });
    endFilters(writer);
    acceptFiltered(nullptr, writer);
}

void TranscodedTrack::endFilters(Mp4Writer& writer) {
    if (graph_) {
        filter(nullptr, writer);
        graph_.reset();
    }
}

void TranscodedTrack::decode(const AVPacket* packet, const std::function<void(AVFrame&)>& visit) {
    const int sent = avcodec_send_packet(decoder_.get(), packet);
    if (isOutOfMemory(sent)) {
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
        if (isOutOfMemory(received)) {
            throw Failure(workerOutOfMemory);
        }
        if (received < 0) {
            countUndecodable();
            // A decoder that is being drained would return the same error forever.
            if (packet == nullptr) {
                return;
            }
            continue;
        }
        if (decoded_->decode_error_flags != 0 || (decoded_->flags & AV_FRAME_FLAG_CORRUPT) != 0) {
            countConcealed();
        }
        visit(*decoded_);
        av_frame_unref(decoded_.get());
    }
}

void TranscodedTrack::filter(AVFrame* frame, Mp4Writer& writer) {
    if (frame != nullptr && !(graph_ && isLike(*frame))) {
        endFilters(writer);
        if (!passes(makeGraph(*frame))) {
            graph_.reset();
            return;
        }
        remember(*frame);
    }
    if (passes(av_buffersrc_add_frame_flags(graphSource_, frame, AV_BUFFERSRC_FLAG_KEEP_REF))) {
        drainFilters(writer);
    }
}

bool TranscodedTrack::passes(int result) {
    if (result >= 0) {
        return true;
    }
    const Failure why = Failure::ofLibrary(encodingFailed, result);
    if (why.error != encodingFailed || ++failuresInARow_ > mostFailuresInARow) {
        throw why;
    }
    countUndecodable();
    return false;
}

void TranscodedTrack::drainFilters(Mp4Writer& writer) {
    while (true) {
        const int taken = av_buffersink_get_frame(graphSink_, filtered_.get());
        if (taken == AVERROR(EAGAIN) || taken == AVERROR_EOF) {
            return;
        }
        if (!passes(taken)) {
            return;
        }
        if (filtered_->pts != AV_NOPTS_VALUE) {
            filtered_->pts = av_rescale_q(filtered_->pts, av_buffersink_get_time_base(graphSink_), encoder_->time_base);
        }
        // Encoders refuse times that do not increase. Audio is cut into other frames, with times of their own.
        if (encoder_->codec_type == AVMEDIA_TYPE_VIDEO && lastTime_ != AV_NOPTS_VALUE &&
            (filtered_->pts == AV_NOPTS_VALUE || filtered_->pts <= lastTime_)) {
            filtered_->pts = lastTime_ + 1;
        }
        lastTime_ = filtered_->pts;
        filtered_->pict_type = AV_PICTURE_TYPE_NONE;
        acceptFiltered(filtered_.get(), writer);
        av_frame_unref(filtered_.get());
    }
}

void TranscodedTrack::encode(AVFrame* frame, Mp4Writer& writer) {
    if (const int sent = avcodec_send_frame(encoder_.get(), frame); sent != AVERROR_EOF && !passes(sent)) {
        return;
    }
    while (true) {
        const int received = avcodec_receive_packet(encoder_.get(), encoded_.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
            return;
        }
        if (!passes(received)) {
            // An encoder that is being drained would return the same error forever.
            if (frame == nullptr) {
                return;
            }
            continue;
        }
        failuresInARow_ = 0;
        send(*encoded_, encoder_->time_base, writer);
    }
}

int TranscodedTrack::makeGraph(const AVFrame& frame) {
    graph_.reset(present(avfilter_graph_alloc()));
    // Filtering is little work compared with encoding; threads of its own would only cost time.
    graph_->nb_threads = 1;
    int result = avfilter_graph_create_filter(&graphSource_, avfilter_get_by_name(sourceFilter()), "in",
                                              sourceArguments(frame).c_str(), nullptr, graph_.get());
    if (result >= 0) {
        result = avfilter_graph_create_filter(&graphSink_, avfilter_get_by_name(sinkFilter()), "out", sinkArguments(),
                                              nullptr, graph_.get());
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
    return result;
}

}  // namespace worker
