#pragma once

#include "mediaconverter/worker/AvPointers.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace worker {

/// Presentation times for pictures of a container that has none (AVI, ASF, elementary streams), or not for each picture
/// (MPEG-PS). Such a container has one time per picture, in the order of decoding. The order in which pictures are
/// shown is read from the pictures; there the same times are given out again. Packets leave in the order in which they
/// came, up to 17 pictures later.
class PictureOrder {
public:
    /// What the times of the container mean.
    enum class Times {
        ofShowing,  ///< the first one is that of the first picture shown (AVI, elementary streams)
        ofDecoding  ///< the first picture is shown when the decoder has as many as it holds back
    };

    /// True where the order of showing can be read from the pictures.
    static bool isPossible(const AVStream& stream);

    /// `stream` must outlive it.
    PictureOrder(const AVStream& stream, Times times);

    void put(PacketPointer packet);

    /// No more packets come.
    void finish();

    /// The next packet whose times are known; null where there is none yet.
    PacketPointer take();

private:
    struct ParserDeleter {
        void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
    };

    struct Picture {
        PacketPointer packet;
        std::int64_t order;  ///< pictures are shown in this order
        bool isShown = false;
    };

    std::int64_t orderOf(const AVPacket& packet);
    std::int64_t orderByCount(std::int64_t count, bool isKey);
    std::int64_t orderByType(int type);
    std::int64_t nextSlot(const AVPacket& packet);
    std::int64_t slot(std::int64_t index) const;
    void showNext();

    const AVStream& stream_;
    const bool showsAtOnce_;
    CodecPointer codec_;
    std::unique_ptr<AVCodecParserContext, ParserDeleter> parser_;
    std::deque<Picture> pictures_;
    std::size_t waiting_ = 0;          ///< of these, whose time of showing is not known yet
    std::vector<std::int64_t> slots_;  ///< the container's times, in the stream's time base
    std::int64_t frame_ = 1;           ///< from one of them to the next
    std::int64_t shown_ = 0;
    std::int64_t taken_ = 0;
    std::int64_t sequence_ = 0;  ///< order numbers of the pictures since the last reset begin here
    std::int64_t highest_ = 0;   ///< order number so far
};

}  // namespace worker
