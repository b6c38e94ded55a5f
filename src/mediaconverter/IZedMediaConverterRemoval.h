#pragma once

#include <cstddef>

/// Removes the recording at `path` if it is the file that a media converter of this library, not released yet, has
/// converted last: same device, inode, size and modification time. Any other file there stays. Any thread.
///
/// Returns 0 if the file is gone; otherwise it stays, and `reason` (up to `size` bytes with the NUL) says why.
///
/// An optional part of the library's interface: another implementation may lack it, so callers reference it weakly and
/// then find a null pointer.
extern "C" __attribute__((visibility("default"))) int RemoveConvertedSource(const char* path, char* reason,
                                                                            std::size_t size);
