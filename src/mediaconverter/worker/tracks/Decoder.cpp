#include "mediaconverter/worker/tracks/Decoder.h"

#include "mediaconverter/worker/Failure.h"

namespace worker {

CodecPointer openDecoder(const AVStream& source, const std::function<void(AVCodecContext&)>& configure) {
    const AVCodec* const codec = avcodec_find_decoder(source.codecpar->codec_id);
    if (codec == nullptr) {
        throw Failure(ConversionError::codecUnknown, avcodec_get_name(source.codecpar->codec_id));
    }
    CodecPointer decoder(present(avcodec_alloc_context3(codec)));
    int result = avcodec_parameters_to_context(decoder.get(), source.codecpar);
    decoder->pkt_timebase = source.time_base;
    if (configure) {
        configure(*decoder);
    }
    if (result >= 0) {
        result = avcodec_open2(decoder.get(), codec, nullptr);
    }
    if (result < 0) {
        throw Failure::ofLibrary(ConversionError::codecUnknown, result);
    }
    return decoder;
}

}  // namespace worker
