#pragma once

#include <cstdint>

namespace worker {

/// Reserves room for an MP4 of about `size` bytes if the file system can. Throws Failure if there is not enough.
void reserveSpace(int output, std::int64_t size);

}  // namespace worker
