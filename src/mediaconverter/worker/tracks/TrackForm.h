#pragma once

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include <cstdint>
#include <string>

namespace worker {

/// The largest form that a re-encoded track takes; its encoder must have room for it.
struct TrackForm {
    int width = 0;                    ///< of the widest frame
    int height = 0;                   ///< of the highest frame
    AVRational pixelAspect = {0, 1};  ///< of the frame with the most pixels
    std::int64_t mostPixels = 0;
    bool isInterlaced = false;
    bool topFieldFirst = true;
    int rate = 0;        ///< samples per second
    int channels = 0;    ///< of the layout
    std::string layout;  ///< in the media library's notation; empty if unknown

    /// The form that the stream's header states.
    static TrackForm of(const AVStream& stream);

    /// Whether this form can hold the frame without loss.
    bool holds(const AVFrame& frame) const;

    /// Grows until it holds the frame.
    void widen(const AVFrame& frame);

    /// Grows until it holds everything that the other form holds.
    void widen(const TrackForm& other);

private:
    static TrackForm of(const AVFrame& frame);
};

/// The layout in the media library's notation; if it is unspecified, the default one for that number of channels.
std::string layoutText(const AVChannelLayout& layout);

}  // namespace worker
