#pragma once

#include <cstdint>

namespace worker {

/// Reserves room for an MP4 of about `size` bytes where the file system can. Throws Failure where there is not that
/// much.
void reserveSpace(int output, std::int64_t size);

}  // namespace worker
