#include "plugins/ktrtrace/TraceLevel.h"

#include <strings.h>

namespace ktrtrace {

namespace {

constexpr TraceLevel allLevels[] = {TraceLevel::debug, TraceLevel::info, TraceLevel::warning, TraceLevel::error,
                                    TraceLevel::off};

}  // namespace

TraceLevel levelOfBits(std::uint64_t bits) {
    if ((bits & 8U) != 0) {
        return TraceLevel::error;
    }
    if ((bits & 4U) != 0) {
        return TraceLevel::warning;
    }
    return bits == 1U ? TraceLevel::debug : TraceLevel::info;
}

TraceLevel levelOfName(const char* name) {
    for (const auto level : allLevels) {
        if (name != nullptr && ::strcasecmp(name, nameOf(level)) == 0) {
            return level;
        }
    }
    return TraceLevel::info;
}

const char* nameOf(TraceLevel level) {
    switch (level) {
    case TraceLevel::debug:
        return "debug";
    case TraceLevel::info:
        return "info";
    case TraceLevel::warning:
        return "warning";
    case TraceLevel::error:
        return "error";
    case TraceLevel::off:
        break;
    }
    return "off";
}

}  // namespace ktrtrace
