#include "mediaconverter/worker/times/PictureOrder.h"

#include <algorithm>

namespace worker {

namespace {

/// No decoder holds back more (ITU-T H.264, A.3.1, and ITU-T H.265, A.4.2).
constexpr std::size_t mostHeld = 16;

/// Distance between the order numbers of two sequences of frames that each count from 0; counts may be negative.
constexpr std::int64_t betweenRuns = std::int64_t{1} << 33U;

bool countsPictures(AVCodecID codec) {
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC;
}

}  // namespace

bool PictureOrder::isPossible(const AVStream& stream) {
    switch (stream.codecpar->codec_id) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_MPEG4:
        return true;
    default:
        return false;
    }
}

PictureOrder::PictureOrder(const AVStream& stream, Times times)
    : stream_(stream),
      showsAtOnce_(times == Times::ofShowing),
      codec_(present(avcodec_alloc_context3(nullptr))),
      parser_(present(av_parser_init(stream.codecpar->codec_id))) {
    if (avcodec_parameters_to_context(codec_.get(), stream.codecpar) < 0) {
        throw std::bad_alloc();
    }
    parser_->flags |= PARSER_FLAG_COMPLETE_FRAMES;
}

void PictureOrder::put(PacketPointer packet) {
    slots_.push_back(nextSlot(*packet));
    const std::int64_t order = orderOf(*packet);
    pictures_.push_back({std::move(packet), order});
    ++waiting_;
    // One more than are held back: for the frame that is shown next, the slot after it is needed too.
    while (waiting_ > mostHeld + 1) {
        showNext();
    }
}

void PictureOrder::finish() {
    while (waiting_ > 0) {
        showNext();
    }
}

PacketPointer PictureOrder::pop() {
    if (pictures_.empty() || !pictures_.front().isShown) {
        return {};
    }
    PacketPointer packet = std::move(pictures_.front().packet);
    pictures_.pop_front();
    // Every frame is decoded before it is shown.
    packet->dts = slot(taken_ - (showsAtOnce_ ? stream_.codecpar->video_delay : 0));
    ++taken_;
    return packet;
}

std::int64_t PictureOrder::orderOf(const AVPacket& packet) {
    std::uint8_t* out = nullptr;
    int size = 0;
    parser_->pict_type = AV_PICTURE_TYPE_NONE;
    static_cast<void>(av_parser_parse2(parser_.get(), codec_.get(), &out, &size, packet.data, packet.size, packet.pts,
                                       packet.dts, packet.pos));
    const std::int64_t order = countsPictures(stream_.codecpar->codec_id)
                                   ? orderByCount(parser_->output_picture_number, parser_->key_frame == 1)
                                   : orderByType(parser_->pict_type);
    highest_ = std::max(highest_, order);
    return order;
}

std::int64_t PictureOrder::orderByCount(std::int64_t count, bool isKey) {
    // If the count restarts, a key frame has a lower count than an earlier frame; any other key frame continues.
    if (isKey && sequence_ + count <= highest_) {
        sequence_ = highest_ + betweenRuns;
    }
    return sequence_ + count;
}

std::int64_t PictureOrder::orderByType(int type) {
    // A bidirectional frame is shown before the last frame it refers to, which is the last one of another type.
    if (type == AV_PICTURE_TYPE_B) {
        return ++sequence_;
    }
    sequence_ = highest_;
    return highest_ + betweenRuns;
}

std::int64_t PictureOrder::nextSlot(const AVPacket& packet) {
    if (packet.duration > 0) {
        frame_ = packet.duration;
    }
    if (packet.dts != AV_NOPTS_VALUE) {
        return packet.dts;
    }
    return slots_.empty() ? (packet.pts != AV_NOPTS_VALUE ? packet.pts : 0) : slots_.back() + frame_;
}

std::int64_t PictureOrder::slot(std::int64_t index) const {
    const auto count = static_cast<std::int64_t>(slots_.size());
    if (index < 0) {
        return slots_.front() + index * frame_;
    }
    return index < count ? slots_[static_cast<std::size_t>(index)] : slots_.back() + (index - count + 1) * frame_;
}

void PictureOrder::showNext() {
    Picture* next = nullptr;
    for (Picture& picture : pictures_) {
        if (!picture.isShown && (next == nullptr || picture.order < next->order)) {
            next = &picture;
        }
    }
    next->isShown = true;
    if (showsAtOnce_ || next->packet->pts == AV_NOPTS_VALUE) {
        next->packet->pts = slot(shown_ + (showsAtOnce_ ? 0 : stream_.codecpar->video_delay));
    }
    ++shown_;
    --waiting_;
}

}  // namespace worker
