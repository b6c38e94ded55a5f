#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>

namespace worker {

/// The parts of an MPEG program stream between which its clock was reset, as where recordings were joined. Parts of the
/// same streams continue each other; one with other streams is another recording.
class ProgramParts {
public:
    /// Reads the system clock reference of a pack's header. True where it does not continue that of the pack before.
    bool isReset(std::span<const std::uint8_t> packHeader);

    /// A packet of `stream` whose payload starts like `payload`. False where it is the first of its stream since a
    /// reset, and the parts before have no such stream or another form of it.
    bool belongs(std::uint32_t stream, std::span<const std::uint8_t> payload);

private:
    std::optional<std::int64_t> clock_;            ///< of the last pack, in ticks
    std::map<std::uint32_t, std::uint64_t> form_;  ///< per stream; 0 where its start does not tell
    std::map<std::uint32_t, int> lastPart_;        ///< in which the stream was seen
    int part_ = 0;
};

}  // namespace worker
