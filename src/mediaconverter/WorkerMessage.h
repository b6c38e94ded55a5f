#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

namespace mediaconverter {

/// A report of the worker to the library, sent through its pipe. Each message is one write, small enough to be atomic.
struct WorkerMessage {
    enum class Kind : std::uint32_t {
        progress = 1,  ///< `fraction` of the work is done, 0 to 1
        note = 2,      ///< `text` is for the system log
        damaged = 3,   ///< parts of the source could not be read; `text` says which; the rest is in the output
        done = 4,      ///< the output is complete and verified; nothing follows
        failed = 5,    ///< `code` is the ConversionError, `text` has details; nothing follows
    };

    Kind kind = Kind::note;
    std::int32_t code = 0;
    float fraction = 0;
    std::array<char, 500> text = {};  ///< NUL-terminated
};

static_assert(sizeof(WorkerMessage) == 512);
static_assert(std::is_trivially_copyable_v<WorkerMessage>);

/// The descriptors that the worker inherits.
namespace descriptor {
inline constexpr int source = 3;
inline constexpr int output = 4;
inline constexpr int report = 5;
}  // namespace descriptor

}  // namespace mediaconverter
