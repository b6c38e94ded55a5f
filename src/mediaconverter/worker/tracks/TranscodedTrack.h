#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/tracks/AudioFramer.h"
#include "mediaconverter/worker/tracks/Track.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

#include <functional>
#include <string>

namespace worker {

/// The form to which a track is re-encoded.
struct FormPlan {
    TrackForm form;
    bool mayGrow = true;
    int videoTracks = 1;   ///< those that are re-encoded at the same time
    bool hasTimes = true;  ///< false for audio in a format without times: they follow from the samples
};

/// A stream that MP4 cannot hold: decoded, converted to a form that the encoder accepts, re-encoded. The classes below
/// handle what differs between audio and video.
class TranscodedTrack : public Track {
public:
    void survey(const AVPacket* packet) override;
    const TrackForm* form() const override { return &seen_; }

protected:
    /// The encoder is created for the plan's form. If that may grow, a frame that does not fit throws OutgrownForm.
    TranscodedTrack(const AVStream& source, AVStream& target, Timeline& timeline, const FormPlan& plan);

    /// The filter chain that converts frames like `frame` to the encoder's form.
    virtual std::string filters(const AVFrame& frame) const = 0;

    /// The arguments of the filter source for frames like `frame`.
    virtual std::string sourceArguments(const AVFrame& frame) const = 0;

    virtual const char* sourceFilter() const = 0;
    virtual const char* sinkFilter() const = 0;
    virtual const char* sinkArguments() const { return nullptr; }

    /// Whether `frame` fits the filter chain that was created for the frames before it.
    virtual bool isLike(const AVFrame& frame) const = 0;
    virtual void remember(const AVFrame& frame) = 0;

    /// Inspects a decoded frame before it is filtered, and may change it.
    virtual void inspect(AVFrame&) {}

    /// True if the filters must not fill the time before the frame, because it is too long.
    virtual bool isAfterPause(const AVFrame&) { return false; }

    /// Accepts a frame in the encoder's form, with its time in the encoder's time base; nullptr when there are no more.
    virtual void acceptFiltered(AVFrame* frame, Mp4Writer& writer) { encode(frame, writer); }

    /// Passes a frame to the encoder; nullptr when there are no more. A frame that it refuses is dropped.
    void encode(AVFrame* frame, Mp4Writer& writer);

    /// Drains the filters; the next frame gets new ones.
    void endFilters(Mp4Writer& writer);

    /// The form that the encoder was created for.
    const TrackForm& planned() const { return plan_.form; }

    bool hasTimes() const { return plan_.hasTimes; }

    AVCodecContext& encoder() { return *encoder_; }
    const AVCodecContext& encoder() const { return *encoder_; }
    const AVCodecContext& decoder() const { return *decoder_; }

    /// Opens the encoder and describes the track accordingly.
    void openEncoder(AVDictionary* options);
    void makeEncoder(const char* name);

private:
    void pass(AVPacket& packet, Mp4Writer& writer) override;
    void end(Mp4Writer& writer) override;
    void decode(const AVPacket* packet, const std::function<void(AVFrame&)>& visit);
    void convert(AVFrame& frame, Mp4Writer& writer);
    bool isSettled(const AVFrame& frame);
    void filter(AVFrame* frame, Mp4Writer& writer);
    void drainFilters(Mp4Writer& writer);
    bool passes(int result);
    int makeGraph(const AVFrame& frame);

    const FormPlan plan_;
    TrackForm seen_;
    int lastRate_ = 0;
    int lastChannels_ = 0;
    int framesAlike_ = 0;
    CodecPointer decoder_;
    CodecPointer encoder_;
    GraphPointer graph_;
    AVFilterContext* graphSource_ = nullptr;
    AVFilterContext* graphSink_ = nullptr;
    FramePointer decoded_;
    FramePointer filtered_;
    PacketPointer encoded_;
    std::int64_t lastTime_ = AV_NOPTS_VALUE;
    int failuresInARow_ = 0;
};

/// Re-encodes video to H.264.
class TranscodedVideo final : public TranscodedTrack {
public:
    TranscodedVideo(const AVStream& source, AVStream& target, Timeline& timeline, const FormPlan& plan);

private:
    struct Size {
        int width;
        int height;
    };

    std::string filters(const AVFrame& frame) const override;
    std::string sourceArguments(const AVFrame& frame) const override;
    const char* sourceFilter() const override { return "buffer"; }
    const char* sinkFilter() const override { return "buffersink"; }
    bool isLike(const AVFrame& frame) const override;
    void remember(const AVFrame& frame) override;
    Size placed(const AVFrame& frame) const;

    int width_ = 0;
    int height_ = 0;
    int format_ = -1;
};

/// Re-encodes audio to AAC, or to FLAC or Opus if AAC cannot keep its rate or channels.
class TranscodedAudio final : public TranscodedTrack {
public:
    TranscodedAudio(const AVStream& source, AVStream& target, Timeline& timeline, const FormPlan& plan);

private:
    std::string filters(const AVFrame& frame) const override;
    std::string sourceArguments(const AVFrame& frame) const override;
    const char* sourceFilter() const override { return "abuffer"; }
    const char* sinkFilter() const override { return "abuffersink"; }
    const char* sinkArguments() const override { return isNumbered_ ? "all_channel_counts=1" : nullptr; }
    bool isLike(const AVFrame& frame) const override;
    void remember(const AVFrame& frame) override;

    void inspect(AVFrame& frame) override;
    bool isAfterPause(const AVFrame& frame) override;
    void acceptFiltered(AVFrame* frame, Mp4Writer& writer) override;

    int rate_ = 0;
    int format_ = -1;
    std::string layout_;
    bool isFirstOfForm_ = true;  ///< the next frame from the filters is the first of a rate, format or layout
    bool isNumbered_ = false;    ///< its channels have no positions
    std::int64_t expectedTime_ = AV_NOPTS_VALUE;  ///< of the next frame, in the source's time base
    std::int64_t nextTime_ = AV_NOPTS_VALUE;      ///< counted from the samples so far, in the source's time base
    std::unique_ptr<AudioFramer> framer_;
};

}  // namespace worker
