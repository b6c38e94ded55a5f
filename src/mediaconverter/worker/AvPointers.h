#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include <memory>

namespace worker {

/// Owning pointers to objects that the media libraries allocate.
struct AvDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};

using PacketPointer = std::unique_ptr<AVPacket, AvDeleter>;
using FramePointer = std::unique_ptr<AVFrame, AvDeleter>;
using CodecPointer = std::unique_ptr<AVCodecContext, AvDeleter>;
using GraphPointer = std::unique_ptr<AVFilterGraph, AvDeleter>;

struct InputDeleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct OutputDeleter {
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
};

using InputPointer = std::unique_ptr<AVFormatContext, InputDeleter>;
using OutputPointer = std::unique_ptr<AVFormatContext, OutputDeleter>;

/// Throws bad_alloc if the library returned null.
template<typename T>
T* present(T* pointer) {
    if (pointer == nullptr) {
        throw std::bad_alloc();
    }
    return pointer;
}

inline PacketPointer newPacket() {
    return PacketPointer(present(av_packet_alloc()));
}

inline FramePointer newFrame() {
    return FramePointer(present(av_frame_alloc()));
}

}  // namespace worker
