#pragma once

#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace mediaconverter {

/// A process that has a file open for writing, or mapped so that it can write.
struct Writer {
    pid_t process = 0;
    std::string name;  ///< the kernel's name for it, at most 15 bytes; empty if unknown
};

/// Whether some process has the file of `descriptor` (opened read-only) open or mapped for writing, under any name.
/// Processes of other users count too if the kernel answers for them, which it does for files of this user on local
/// file systems. Never blocks, and causes no signal.
bool isOpenForWriting(int descriptor);

/// The processes that have the file open or mapped for writing, as far as this user may inspect them; in no order.
std::vector<Writer> writersOf(const struct stat& file);

/// "process 12 (recorder)", several of them separated by commas; for a log.
std::string textOf(const std::vector<Writer>& writers);

}  // namespace mediaconverter
