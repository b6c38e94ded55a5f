#pragma once

namespace worker {

/// True once memory was refused to any part of this process. The media libraries pass over some of these failures and
/// leave out what they had no memory for, so that a result made after one proves nothing. What no recording can need
/// at once is not counted: it was a damaged length that asked for it. Always false in builds with a sanitizer.
bool wasMemoryRefused();

}  // namespace worker
