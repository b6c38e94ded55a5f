#include "mediaconverter/worker/reading/Formats.h"

extern "C" {
#include <libavutil/avstring.h>
}

namespace worker::formats {

namespace {

/// Formats that consist of one local file. Not included are playlists, scripts, image sequences, devices, network
/// formats, and texts, because anything can be taken for a text.
constexpr const char* allowedFormats =
    "matroska,webm,mov,mp4,m4a,3gp,3g2,mj2,mpegts,mpeg,flv,live_flv,kux,avi,mxf,ogg,wav,w64,asf,asf_o,wtv,nut,nsv,rm,"
    "gxf,dv,ivf,obu,av1,h264,hevc,m4v,mpegvideo,vc1,dirac,yuv4mpegpipe,aac,ac3,eac3,mp3,flac,aiff,au,caf,dts,dtshd,"
    "truehd,mlp,amr,ape,tta,wv,voc,loas,lmlm4,pva,mlv,dhav,avs2,avs3,swf,rso,ircam";

/// Formats that refer to other files. Such a file is distinguished from one of no known format.
constexpr const char* refusedFormats =
    "hls,applehttp,dash,concat,ffmetadata,image2,image2pipe,imf,webm_dash_manifest,sdp,rtsp,lavfi,srt,ass,webvtt,"
    "subviewer,subviewer1,microdvd,mpl2,mpsub,jacosub,sami,realtext,pjs,vplayer,stl,tedcaptions,tty,lrc,aqtitle,scc";

/// Formats that give every packet its presentation time.
constexpr const char* timedFormats = "matroska,webm,mov,mp4,flv,mpegts,ogg,wav,nut";

/// Formats with one slot per frame, filled with the frame that is decoded there; the first slot is the time of the
/// first frame shown.
constexpr const char* orderedFormats = "avi,h264,hevc,m4v,mpegvideo";

constexpr const char* flvFormats = "flv,live_flv,kux";

/// Audio formats without a container.
constexpr const char* untimedFormats = "aac,ac3,eac3,mp3,dts,dtshd,truehd,mlp,loas";

bool isListed(const AVInputFormat& format, const char* list) {
    return av_match_list(format.name, list, ',') > 0;
}

}  // namespace

bool isAllowed(const AVInputFormat& format) {
    return isListed(format, allowedFormats);
}

bool isRefused(const AVInputFormat& format) {
    return isListed(format, refusedFormats);
}

bool isMov(const AVInputFormat& format) {
    return isListed(format, "mov");
}

bool isFlv(const AVInputFormat& format) {
    return isListed(format, flvFormats);
}

bool hasTimes(const AVInputFormat& format) {
    return !isListed(format, untimedFormats);
}

bool givesPresentationTimes(const AVInputFormat& format) {
    return isListed(format, timedFormats);
}

bool placesPicturesInOrder(const AVInputFormat& format) {
    return isListed(format, orderedFormats);
}

}  // namespace worker::formats
