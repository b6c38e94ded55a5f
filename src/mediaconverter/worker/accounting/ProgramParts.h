#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>

namespace worker {

/// The parts of an MPEG program stream between which its clock was reset, as where recordings were joined, or leaps
/// forward by up to an hour, as where a recorder paused. Parts of the same streams continue each other; one with other
/// streams after a reset is another recording, and so is one with other pictures after a leap.
class ProgramParts {
public:
    /// Reads the system clock reference of a pack's header. True where the clock was reset.
    bool isReset(std::span<const std::uint8_t> packHeader);

    /// A packet of `stream` whose payload starts like `payload`. False where it is the first of its stream in a part
    /// that does not continue the parts before.
    bool belongs(std::uint32_t stream, std::span<const std::uint8_t> payload);

private:
    std::optional<std::int64_t> clock_;            ///< of the last pack, in ticks
    std::map<std::uint32_t, std::uint64_t> form_;  ///< per stream; 0 where its start does not tell
    std::map<std::uint32_t, int> lastPart_;        ///< in which the stream was seen
    int part_ = 0;
    bool isPause_ = false;  ///< whether the clock leapt to this part
};

}  // namespace worker
