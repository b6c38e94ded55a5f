#include "mediaconverter/worker/accounting/ScanChoice.h"

#include "mediaconverter/worker/accounting/AsfGrammar.h"
#include "mediaconverter/worker/accounting/AudioFrameGrammar.h"
#include "mediaconverter/worker/accounting/AviGrammar.h"
#include "mediaconverter/worker/accounting/ChunkedAudioScan.h"
#include "mediaconverter/worker/accounting/FlvGrammar.h"
#include "mediaconverter/worker/accounting/GxfGrammar.h"
#include "mediaconverter/worker/accounting/IvfGrammar.h"
#include "mediaconverter/worker/accounting/MatroskaGrammar.h"
#include "mediaconverter/worker/accounting/Mp4Scan.h"
#include "mediaconverter/worker/accounting/MxfGrammar.h"
#include "mediaconverter/worker/accounting/OggGrammar.h"
#include "mediaconverter/worker/accounting/ProgramStreamGrammar.h"
#include "mediaconverter/worker/accounting/RawStreamScan.h"
#include "mediaconverter/worker/accounting/TransportScan.h"
#include "mediaconverter/worker/accounting/UnitScanner.h"

extern "C" {
#include <libavutil/avstring.h>
}

namespace worker {

namespace {

constexpr const char* flvFormats = "flv,live_flv,kux";
constexpr const char* rawVideoFormats = "h264,hevc,m4v,mpegvideo,vc1";
constexpr const char* rawAudioFormats = "flac,dts,truehd,mlp,amr,au";

bool isOneOf(const AVInputFormat& format, const char* names) {
    return av_match_list(format.name, names, ',') > 0;
}

AVCodecID audioCodecOf(const AVInputFormat& format) {
    return isOneOf(format, "mp3")    ? AV_CODEC_ID_MP3
           : isOneOf(format, "aac")  ? AV_CODEC_ID_AAC
           : isOneOf(format, "ac3")  ? AV_CODEC_ID_AC3
           : isOneOf(format, "eac3") ? AV_CODEC_ID_EAC3
                                     : AV_CODEC_ID_NONE;
}

template<typename Kind>
std::unique_ptr<Grammar> make() {
    return std::make_unique<Kind>();
}

std::unique_ptr<Grammar> grammarOf(const AVInputFormat& format) {
    struct Choice {
        const char* formats;
        std::unique_ptr<Grammar> (*maker)();
    };
    constexpr Choice choices[] = {
        {"matroska,webm", make<MatroskaGrammar>},
        {flvFormats, make<FlvGrammar>},
        {"avi", make<AviGrammar>},
        {"mpeg", make<ProgramStreamGrammar>},
        {"ogg", make<OggGrammar>},
        {"ivf", make<IvfGrammar>},
        {"mxf", make<MxfGrammar>},
        {"gxf", make<GxfGrammar>},
        {"asf,asf_o", make<AsfGrammar>},
    };
    for (const Choice& choice : choices) {
        if (isOneOf(format, choice.formats)) {
            return choice.maker();
        }
    }
    if (const AVCodecID codec = audioCodecOf(format); codec != AV_CODEC_ID_NONE) {
        return std::make_unique<AudioFrameGrammar>(codec);
    }
    return nullptr;
}

}  // namespace

std::unique_ptr<Scan> makeScan(const AVInputFormat& format, SourceView& view, Ledger& ledger) {
    if (isOneOf(format, "mov,mp4")) {
        return std::make_unique<Mp4Scan>(view, ledger);
    }
    if (isOneOf(format, "mpegts")) {
        return std::make_unique<TransportScan>(view, ledger);
    }
    if (const ChunkLayout* const layout = chunkLayoutOf(format.name)) {
        return std::make_unique<ChunkedAudioScan>(*layout, view, ledger);
    }
    const bool isRawVideo = isOneOf(format, rawVideoFormats);
    if (isRawVideo || isOneOf(format, rawAudioFormats)) {
        return std::make_unique<RawStreamScan>(view, ledger, isRawVideo);
    }
    auto grammar = grammarOf(format);
    if (!grammar) {
        return nullptr;
    }
    const std::int64_t start = isOneOf(format, flvFormats) ? FlvGrammar::firstTag(view) : 0;
    return std::make_unique<UnitScanner>(std::move(grammar), view, ledger, start);
}

}  // namespace worker
