#pragma once

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include <cstdint>
#include <string>

namespace worker {

/// The largest form that a re-encoded track takes on its way: what its encoder has to have room for.
struct TrackForm {
    int width = 0;                    ///< of the widest picture
    int height = 0;                   ///< of the highest picture
    AVRational pixelAspect = {0, 1};  ///< of the picture with the most pixels
    std::int64_t mostPixels = 0;
    bool isInterlaced = false;
    bool topFieldFirst = true;
    int rate = 0;        ///< samples per second
    int channels = 0;    ///< of the layout
    std::string layout;  ///< as the media library writes it; empty where it is not known

    /// What the stream's header says.
    static TrackForm of(const AVStream& stream);

    /// True where the frame loses nothing in this form.
    bool holds(const AVFrame& frame) const;

    /// Grows until it holds the frame.
    void widen(const AVFrame& frame);

    /// Grows until it holds what the other holds.
    void widen(const TrackForm& other);

private:
    static TrackForm of(const AVFrame& frame);
};

/// The layout in the media library's words; the usual one of that many channels where there is none.
std::string layoutText(const AVChannelLayout& layout);

}  // namespace worker
