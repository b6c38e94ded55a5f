#pragma once

#include <cstdint>
#include <string>

namespace worker {

/// Thrown when the structure of a recording is not what its standard demands, or uses a feature that the parser does
/// not know. It says nothing about whether the recording can be converted.
struct Irregularity {
    std::string what;
    std::int64_t position;  ///< in bytes
};

}  // namespace worker
