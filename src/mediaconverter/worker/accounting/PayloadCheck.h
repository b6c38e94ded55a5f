#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstddef>
#include <cstdint>
#include <span>

namespace worker {

/// Finds what cannot be in the packets of one stream: holes that a file system or a disk has left, and noise where
/// H.264 and HEVC count the bytes of their units. The packets go on as they are; they only count as damaged.
class PayloadCheck {
public:
    explicit PayloadCheck(const AVStream& stream);

    /// True for a packet of zeros in a codec that has none.
    static bool isEmpty(std::span<const std::uint8_t> packet, const AVCodecParameters& stream);

    /// `position` is the packet's in the file, negative where the library does not tell.
    void add(std::span<const std::uint8_t> packet, std::int64_t position);

    /// How many packets are damaged. 0 where so many seem so that it is the writer's manner.
    /// A last packet with a wrong checksum has been cut by the end of a recording that nobody has finished.
    std::int64_t damaged() const {
        const std::int64_t count = damaged_ - (mayBeCut_ && isLastDamaged_ ? 1 : 0);
        return count * 2 < packets_ ? count : 0;
    }

    /// Where the first of them is.
    std::int64_t firstPosition() const { return firstPosition_; }

private:
    bool isDamaged(std::span<const std::uint8_t> packet) const;
    bool areUnitsBroken(std::span<const std::uint8_t> packet) const;

    bool hasNoZeros_ = false;      ///< a healthy packet holds no long run of zeros
    bool isCompressed_ = false;    ///< a healthy packet is never all zeros
    bool hasChecksum_ = false;     ///< a packet ends with a checksum over it
    bool mayBeCut_ = false;        ///< its last packet
    std::size_t lengthWidth_ = 0;  ///< of the size before each unit; 0 where there are no such
    std::int64_t packets_ = 0;
    std::int64_t damaged_ = 0;
    bool isLastDamaged_ = false;
    std::int64_t firstPosition_ = -1;
};

}  // namespace worker
