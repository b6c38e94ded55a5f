#include "mediaconverter/worker/tracks/TranscodedText.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/times/MicrosecondBase.h"
#include "mediaconverter/worker/tracks/Decoder.h"

#include <algorithm>

namespace worker {

namespace {

using enum ConversionError;

constexpr AVRational milliseconds = {1, 1000};
constexpr std::size_t mostText = std::size_t{64} * 1024;

CodecPointer openEncoder(const AVCodecContext& decoder) {
    const AVCodec* const codec = avcodec_find_encoder(AV_CODEC_ID_MOV_TEXT);
    CodecPointer encoder(present(avcodec_alloc_context3(codec)));
    encoder->time_base = milliseconds;
    if (decoder.subtitle_header != nullptr) {
        const auto size = static_cast<std::size_t>(decoder.subtitle_header_size);
        encoder->subtitle_header = static_cast<std::uint8_t*>(present(av_mallocz(size + 1)));
        std::copy_n(decoder.subtitle_header, size, encoder->subtitle_header);
        encoder->subtitle_header_size = decoder.subtitle_header_size;
    }
    if (const int opened = avcodec_open2(encoder.get(), codec, nullptr); opened < 0) {
        throw Failure::ofLibrary(encodingFailed, opened);
    }
    return encoder;
}

}  // namespace

TranscodedText::TranscodedText(const AVStream& source, AVStream& target, Timeline& timeline)
    : Track(source, target, timeline),
      decoder_(openDecoder(source)),
      encoder_(openEncoder(*decoder_)),
      encoded_(mostText) {
    if (const int copied = avcodec_parameters_from_context(target.codecpar, encoder_.get()); copied < 0) {
        throw Failure::ofLibrary(encodingFailed, copied);
    }
    target.time_base = milliseconds;
    copySideData();
}

void TranscodedText::pass(AVPacket& packet, Mp4Writer& writer) {
    clock().place(packet);
    AVSubtitle subtitle = {};
    int got = 0;
    if (avcodec_decode_subtitle2(decoder_.get(), &subtitle, &got, &packet) < 0) {
        countUndecodable();
        return;
    }
    if (got == 0) {
        return;
    }
    subtitle.pts = av_rescale_q(packet.pts, source().time_base, microsecondBase);
    const int length =
        avcodec_encode_subtitle(encoder_.get(), encoded_.data(), static_cast<int>(encoded_.size()), &subtitle);
    const std::int64_t shown = subtitle.end_display_time;
    avsubtitle_free(&subtitle);
    if (length < 0) {
        countUndecodable();
        return;
    }
    const PacketPointer text = newPacket();
    if (const int made = av_new_packet(text.get(), length); made < 0) {
        throw Failure::ofLibrary(encodingFailed, made);
    }
    std::copy_n(encoded_.begin(), length, text->data);
    text->pts = text->dts = av_rescale_q(packet.pts, source().time_base, milliseconds);
    text->duration = packet.duration > 0 ? av_rescale_q(packet.duration, source().time_base, milliseconds)
                                         : (shown == UINT32_MAX ? 0 : shown);
    text->flags |= AV_PKT_FLAG_KEY;
    witness().add(packet);
    send(*text, milliseconds, writer);
}

}  // namespace worker
