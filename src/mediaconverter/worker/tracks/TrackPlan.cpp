#include "mediaconverter/worker/tracks/TrackPlan.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/FfmpegVersions.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/encryption_info.h>
}

#include <algorithm>

namespace worker {

namespace {

using enum ConversionError;

bool mp4Holds(AVCodecID codec) {
    switch (codec) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
    case AV_CODEC_ID_AV1:
    case AV_CODEC_ID_VP9:
    case AV_CODEC_ID_MPEG4:
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_AAC:
    case AV_CODEC_ID_MP3:
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
    case AV_CODEC_ID_ALAC:
    case AV_CODEC_ID_OPUS:
    case AV_CODEC_ID_FLAC:
    case AV_CODEC_ID_DTS:
    case AV_CODEC_ID_MOV_TEXT:
        return true;
    default:
        return false;
    }
}

/// Images that an MP4 can hold and players show.
bool isCover(const AVStream& stream) {
    const AVCodecID codec = stream.codecpar->codec_id;
    return isAttachedPicture(stream) &&
           (codec == AV_CODEC_ID_MJPEG || codec == AV_CODEC_ID_PNG || codec == AV_CODEC_ID_BMP);
}

bool isEncrypted(const AVStream& stream) {
    const unsigned tag = stream.codecpar->codec_tag;
    const auto isKeys = [](const AVPacketSideData& data) { return data.type == AV_PKT_DATA_ENCRYPTION_INIT_INFO; };
    return tag == MKTAG('e', 'n', 'c', 'v') || tag == MKTAG('e', 'n', 'c', 'a') ||
           std::ranges::any_of(ffmpeg::sideDataOf(stream), isKeys);
}

bool isText(AVCodecID codec) {
    const AVCodecDescriptor* const descriptor = avcodec_descriptor_get(codec);
    return descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_TEXT_SUB) != 0;
}

}  // namespace

Treatment treatmentOf(const AVStream& stream) {
    const AVCodecID codec = stream.codecpar->codec_id;
    switch (stream.codecpar->codec_type) {
    case AVMEDIA_TYPE_VIDEO:
        if (isAttachedPicture(stream)) {
            return isCover(stream) ? Treatment::copy : Treatment::leave;
        }
        break;
    case AVMEDIA_TYPE_AUDIO:
        break;
    case AVMEDIA_TYPE_SUBTITLE:
        if (codec == AV_CODEC_ID_MOV_TEXT) {
            return Treatment::copy;
        }
        return isText(codec) && avcodec_find_decoder(codec) != nullptr ? Treatment::transcode : Treatment::leave;
    default:
        return Treatment::leave;
    }
    if (isEncrypted(stream)) {
        throw Failure(encrypted, describe(stream));
    }
    if (mp4Holds(codec)) {
        return Treatment::copy;
    }
    if (avcodec_find_decoder(codec) == nullptr) {
        throw Failure(codecUnknown, describe(stream));
    }
    return Treatment::transcode;
}

bool isKnown(const AVStream& stream) {
    const AVCodecParameters& parameters = *stream.codecpar;
    switch (parameters.codec_type) {
    case AVMEDIA_TYPE_VIDEO:
        return parameters.width > 0 && parameters.height > 0;
    case AVMEDIA_TYPE_AUDIO:
        return parameters.sample_rate > 0 && parameters.ch_layout.nb_channels > 0;
    default:
        return true;
    }
}

bool isContent(const AVStream& stream) {
    const AVMediaType type = stream.codecpar->codec_type;
    return (type == AVMEDIA_TYPE_VIDEO || type == AVMEDIA_TYPE_AUDIO) && !isAttachedPicture(stream);
}

std::string describe(const AVStream& stream) {
    const char* const type = av_get_media_type_string(stream.codecpar->codec_type);
    return std::string(type == nullptr ? "unknown" : type) + " stream " + std::to_string(stream.index) + " (" +
           avcodec_get_name(stream.codecpar->codec_id) + ")";
}

}  // namespace worker
