#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include <cstddef>
#include <cstdint>
#include <span>

/// All differences between the FFmpeg releases that the worker builds with, 5.1 to 9.0, each with the version that
/// introduced it according to FFmpeg's doc/APIchanges. The worker uses nothing that FFmpeg 9.0 deprecates.
namespace worker::ffmpeg {

/// The type of the data that avio_alloc_context()'s write callback receives: const since FFmpeg 7.0 (libavformat
/// 61.0.100).
#if LIBAVFORMAT_VERSION_MAJOR >= 61
using WrittenByte = const std::uint8_t;
#else
using WrittenByte = std::uint8_t;
#endif

/// The file name used to probe a recording's format, whatever its real name: since FFmpeg 7.1.1 a playlist is only
/// recognised under such a name, and it has to be recognised to be refused. No other format depends on it.
inline constexpr const char* probedName = "recording.m3u8";

/// Side data of a whole stream (display matrix, mastering display, …): in the codec parameters since FFmpeg 6.1
/// (libavcodec 60.30.100), no longer in the stream since FFmpeg 8.0 (libavformat 62).
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 30, 100)
inline std::span<const AVPacketSideData> sideDataOf(const AVStream& stream) {
    return {stream.codecpar->coded_side_data, static_cast<std::size_t>(stream.codecpar->nb_coded_side_data)};
}
/// A buffer of `size` bytes to fill in; replaces existing side data of that type. Null if out of memory. Call before
/// avformat_write_header().
inline std::uint8_t* newSideData(AVStream& stream, AVPacketSideDataType type, std::size_t size) {
    AVCodecParameters& parameters = *stream.codecpar;
    AVPacketSideData* const added =
        av_packet_side_data_new(&parameters.coded_side_data, &parameters.nb_coded_side_data, type, size, 0);
    return added == nullptr ? nullptr : added->data;
}
#else
inline std::span<const AVPacketSideData> sideDataOf(const AVStream& stream) {
    return {stream.side_data, static_cast<std::size_t>(stream.nb_side_data)};
}
inline std::uint8_t* newSideData(AVStream& stream, AVPacketSideDataType type, std::size_t size) {
    return av_stream_new_side_data(&stream, type, size);
}
#endif

/// The display order of a frame's two fields: flags since FFmpeg 6.1 (libavutil 58.7.100), which deprecates the
/// members.
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 7, 100)
inline bool isInterlaced(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_INTERLACED) != 0;
}
inline bool isTopFieldFirst(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_TOP_FIELD_FIRST) != 0;
}
#else
inline bool isInterlaced(const AVFrame& frame) {
    return frame.interlaced_frame != 0;
}
inline bool isTopFieldFirst(const AVFrame& frame) {
    return frame.top_field_first != 0;
}
#endif

}  // namespace worker::ffmpeg
