#pragma once

#include "support/RecordingTrace.h"

#include <cstdint>
#include <string>

namespace test {

// The lines that the process guard traces about one process.

inline std::string guarding(std::int32_t pid) {
    return info("-[KTRProcessGuard guardProcessWithPid:]: process guard for pid = " + std::to_string(pid));
}

inline std::string unguarding(std::int32_t pid) {
    return info("-[KTRProcessGuard removeGuardProcessWithPid:]: remove process guard for pid = " + std::to_string(pid));
}

inline std::string observingExit(std::int32_t pid) {
    return info("NoteExitKQueueCallback: observe process exit pid " + std::to_string(pid));
}

}  // namespace test
