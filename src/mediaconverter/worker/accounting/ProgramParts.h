#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>

namespace worker {

/// The parts of an MPEG program stream between which its clock was reset, as when recordings were joined, or jumped
/// forward by up to an hour, as when a recorder paused. Parts with the same streams continue each other. A part with
/// other streams after a reset is another recording, and so is one with another video format after a jump.
class ProgramParts {
public:
    /// Reads the system clock reference of a pack's header. True if the clock was reset.
    bool isReset(std::span<const std::uint8_t> packHeader);

    /// A packet of `stream` whose payload starts with `payload`. False if it is the first of its stream in a part that
    /// does not continue the parts before.
    bool belongs(std::uint32_t stream, std::span<const std::uint8_t> payload);

private:
    std::optional<std::int64_t> clock_;            ///< of the last pack, in ticks
    std::map<std::uint32_t, std::uint64_t> form_;  ///< per stream; 0 if its start does not state it
    std::map<std::uint32_t, int> lastPart_;        ///< the part in which the stream was last seen
    int part_ = 0;
    bool isPause_ = false;  ///< whether the clock jumped forward to this part
};

}  // namespace worker
