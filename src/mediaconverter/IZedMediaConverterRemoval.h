#pragma once

#include <cstddef>

/// Removes the recording at `path` if it is the very file that a media converter of this library, not released yet, has
/// converted last: same device, inode, size and modification time. Any other file there stays. Any thread.
///
/// Returns 0 when the file is gone; otherwise it stays, and `reason` (up to `size` bytes with the NUL) says why.
///
/// An optional part of the library's interface: a library of another maker may lack it, so callers refer to it weakly
/// and find a null pointer then.
extern "C" __attribute__((visibility("default"))) int RemoveConvertedSource(const char* path, char* reason,
                                                                            std::size_t size);
