#pragma once

#include "mediaconverter/worker/AvPointers.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace worker {

/// Presentation times for the frames of a container that has none (AVI, ASF, elementary streams), or not for each frame
/// (MPEG-PS). Such a container has one time per frame, in decoding order. The presentation order is read from the
/// frames, and the same times are reassigned in that order. Packets leave in the order in which they came, up to 17
/// frames later.
class PictureOrder {
public:
    /// The meaning of the container's times.
    enum class Times {
        ofShowing,  ///< the first one is that of the first frame shown (AVI, elementary streams)
        ofDecoding  ///< the first frame is shown when the decoder has as many as it holds back
    };

    /// Whether the presentation order can be read from the frames.
    static bool isPossible(const AVStream& stream);

    /// `stream` must outlive it.
    PictureOrder(const AVStream& stream, Times times);

    void put(PacketPointer packet);

    /// No more packets come.
    void finish();

    /// The next packet whose times are known; null if there is none yet.
    PacketPointer pop();

private:
    struct ParserDeleter {
        void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
    };

    struct Picture {
        PacketPointer packet;
        std::int64_t order;  ///< frames are shown in this order
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
    std::size_t waiting_ = 0;          ///< number of these whose presentation time is not known yet
    std::vector<std::int64_t> slots_;  ///< the container's times, in the stream's time base
    std::int64_t frame_ = 1;           ///< distance between two of them
    std::int64_t shown_ = 0;
    std::int64_t taken_ = 0;
    std::int64_t sequence_ = 0;  ///< where the order numbers of the frames since the last reset start
    std::int64_t highest_ = 0;   ///< highest order number so far
};

}  // namespace worker
