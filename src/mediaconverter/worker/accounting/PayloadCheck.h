#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstddef>
#include <cstdint>
#include <span>

namespace worker {

/// Number of bytes that state the size of each unit of H.264 or HEVC; 0 if the stream is another one, or has start codes.
std::size_t unitLengthWidth(const AVCodecParameters& stream);

/// Finds impossible content in the packets of one stream: holes that a file system or a disk has left, and noise where
/// H.264 and HEVC count the bytes of their units. The packets are passed on unchanged; they only count as damaged.
class PayloadCheck {
public:
    explicit PayloadCheck(const AVStream& stream);

    /// Whether the packet is all zeros in a codec that has no such packets.
    static bool isEmpty(std::span<const std::uint8_t> packet, const AVCodecParameters& stream);

    /// `position` is the packet's in the file, negative if the library does not report it.
    void add(std::span<const std::uint8_t> packet, std::int64_t position);

    /// Number of damaged packets. 0 if so many look damaged that it must be the writer's style. A last packet with a
    /// wrong checksum has been cut by the end of an unfinished recording.
    std::int64_t damaged() const {
        const std::int64_t count = damaged_ - (mayBeCut_ && isLastDamaged_ ? 1 : 0);
        return count * 2 < packets_ ? count : 0;
    }

    /// Position of the first damaged packet.
    std::int64_t firstPosition() const { return firstPosition_; }

private:
    bool isDamaged(std::span<const std::uint8_t> packet) const;
    bool areUnitsBroken(std::span<const std::uint8_t> packet) const;

    bool hasNoZeros_ = false;      ///< an intact packet contains no long run of zeros
    bool isCompressed_ = false;    ///< an intact packet is never all zeros
    bool hasChecksum_ = false;     ///< a packet ends with a checksum over it
    bool mayBeCut_ = false;        ///< its last packet may be cut
    std::size_t lengthWidth_ = 0;  ///< of the size before each unit; 0 if units have none
    std::int64_t packets_ = 0;
    std::int64_t damaged_ = 0;
    bool isLastDamaged_ = false;
    std::int64_t firstPosition_ = -1;
};

}  // namespace worker
