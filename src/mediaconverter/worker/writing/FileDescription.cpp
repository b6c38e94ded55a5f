#include "mediaconverter/worker/writing/FileDescription.h"

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/times/MicrosecondBase.h"

#include <algorithm>

namespace worker {

std::int64_t estimateIndex(const AVFormatContext& format, std::int64_t size) {
    // Sizes, times and positions take about this many bytes per packet, and the descriptions of all tracks this many.
    constexpr double bytesOfPacket = 20;
    constexpr double usualPacketRate = 50;
    constexpr std::int64_t descriptions = std::int64_t{16} * 1024;
    const double seconds =
        format.duration > 0 ? static_cast<double>(format.duration) / AV_TIME_BASE : static_cast<double>(size) / 20'000;
    double packets = 0;
    std::int64_t covers = 0;
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        const AVStream& stream = *format.streams[index];
        const AVCodecParameters& parameters = *stream.codecpar;
        const bool isAudio = parameters.codec_type == AVMEDIA_TYPE_AUDIO && parameters.frame_size > 0;
        const double rate = isAudio ? static_cast<double>(parameters.sample_rate) / parameters.frame_size
                            : stream.avg_frame_rate.den > 0 ? av_q2d(stream.avg_frame_rate)
                                                            : usualPacketRate;
        packets += seconds * std::clamp(rate, 1.0, 1000.0);
        covers += stream.attached_pic.size;
    }
    // A recording that pauses for hours has fewer packets.
    const double most = std::min(static_cast<double>(size) / 4, 256e6);
    return descriptions + covers + static_cast<std::int64_t>(std::min(packets * bytesOfPacket, most));
}

void copyMetadata(const AVFormatContext& source, AVFormatContext& target) {
    av_dict_copy(&target.metadata, source.metadata, 0);
    // These describe the recording's own container, and the muxer writes its own.
    for (const char* const key : {"major_brand", "minor_version", "compatible_brands", "encoder", "DURATION"}) {
        av_dict_set(&target.metadata, key, nullptr, 0);
    }
}

void copyChapters(const AVFormatContext& source, AVFormatContext& target, std::int64_t origin) {
    for (unsigned index = 0; index < source.nb_chapters; ++index) {
        const AVChapter& chapter = *source.chapters[index];
        const std::int64_t shift = av_rescale_q(origin, microsecondBase, chapter.time_base);
        auto* const copy = static_cast<AVChapter*>(present(av_mallocz(sizeof(AVChapter))));
        copy->id = chapter.id;
        copy->time_base = chapter.time_base;
        copy->start = std::max<std::int64_t>(0, chapter.start - shift);
        copy->end = std::max(copy->start, chapter.end - shift);
        av_dict_copy(&copy->metadata, chapter.metadata, 0);
        int count = static_cast<int>(target.nb_chapters);
        av_dynarray_add(&target.chapters, &count, copy);
        target.nb_chapters = static_cast<unsigned>(count);
    }
}

}  // namespace worker
