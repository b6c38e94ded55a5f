#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/Track.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

#include <string>

namespace worker {

/// A stream that MP4 can't hold: decoded, brought into a form that the encoder takes, encoded anew. Sound and
/// picture share the way; what differs is in the two classes below.
class TranscodedTrack : public Track {
protected:
    TranscodedTrack(const AVStream& source, AVStream& target, Timeline& timeline);

    /// The filter chain that brings frames like `frame` into the encoder's form.
    virtual std::string filters(const AVFrame& frame) const = 0;

    /// The arguments of the filter source for frames like `frame`.
    virtual std::string sourceArguments(const AVFrame& frame) const = 0;

    virtual const char* sourceFilter() const = 0;
    virtual const char* sinkFilter() const = 0;

    /// True where `frame` fits the filter chain that was made for the frames before it.
    virtual bool isLike(const AVFrame& frame) const = 0;
    virtual void remember(const AVFrame& frame) = 0;

    AVCodecContext& encoder() { return *encoder_; }
    const AVCodecContext& encoder() const { return *encoder_; }
    const AVCodecContext& decoder() const { return *decoder_; }

    /// Opens the encoder and describes the track by it.
    void openEncoder(AVDictionary* options);
    void makeEncoder(const char* name);

private:
    void pass(AVPacket& packet, Mp4Writer& writer) override;
    void end(Mp4Writer& writer) override;
    void decode(const AVPacket* packet, Mp4Writer& writer);
    void filter(AVFrame* frame, Mp4Writer& writer);
    void drainFilters(Mp4Writer& writer);
    void encode(AVFrame* frame, Mp4Writer& writer);
    void makeGraph(const AVFrame& frame);

    CodecPointer decoder_;
    CodecPointer encoder_;
    GraphPointer graph_;
    AVFilterContext* graphSource_ = nullptr;
    AVFilterContext* graphSink_ = nullptr;
    FramePointer decoded_;
    FramePointer filtered_;
    PacketPointer encoded_;
    std::int64_t lastTime_ = AV_NOPTS_VALUE;
};

/// Pictures, to H.264.
class TranscodedVideo final : public TranscodedTrack {
public:
    TranscodedVideo(const AVStream& source, AVStream& target, Timeline& timeline);

private:
    std::string filters(const AVFrame& frame) const override;
    std::string sourceArguments(const AVFrame& frame) const override;
    const char* sourceFilter() const override { return "buffer"; }
    const char* sinkFilter() const override { return "buffersink"; }
    bool isLike(const AVFrame& frame) const override;
    void remember(const AVFrame& frame) override;

    int encoderWidth_ = 0;
    int encoderHeight_ = 0;
    int width_ = 0;
    int height_ = 0;
    int format_ = -1;
};

/// Sound, to AAC.
class TranscodedAudio final : public TranscodedTrack {
public:
    TranscodedAudio(const AVStream& source, AVStream& target, Timeline& timeline);

private:
    std::string filters(const AVFrame& frame) const override;
    std::string sourceArguments(const AVFrame& frame) const override;
    const char* sourceFilter() const override { return "abuffer"; }
    const char* sinkFilter() const override { return "abuffersink"; }
    bool isLike(const AVFrame& frame) const override;
    void remember(const AVFrame& frame) override;

    int rate_ = 0;
    int format_ = -1;
    std::string layout_;
};

}  // namespace worker
