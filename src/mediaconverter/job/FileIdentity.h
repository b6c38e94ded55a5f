#pragma once

#include <sys/stat.h>

namespace mediaconverter {

/// Whether both describe the same file with the same content: device, inode, size and modification time to the
/// nanosecond.
inline bool isSameContent(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace mediaconverter
