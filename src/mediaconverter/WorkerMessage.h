#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

namespace mediaconverter {

/// What the worker tells the library through its pipe. One message is one write, small enough to be whole always.
struct WorkerMessage {
    enum class Kind : std::uint32_t {
        progress = 1,  ///< `fraction` of the work is done, 0 to 1
        note = 2,      ///< `text` belongs into the system log
        damaged = 3,   ///< parts of the source could not be read; `text` says which; the rest has been saved
        done = 4,      ///< the output is whole and proved; nothing follows
        failed = 5,    ///< `code` is the ConversionError, `text` says more; nothing follows
    };

    Kind kind = Kind::note;
    std::int32_t code = 0;
    float fraction = 0;
    std::array<char, 500> text = {};  ///< NUL-terminated
};

static_assert(sizeof(WorkerMessage) == 512);
static_assert(std::is_trivially_copyable_v<WorkerMessage>);

/// Where the worker finds what it was given.
namespace descriptor {
inline constexpr int source = 3;
inline constexpr int output = 4;
inline constexpr int report = 5;
}  // namespace descriptor

}  // namespace mediaconverter
