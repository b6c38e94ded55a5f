#pragma once

#include <sys/stat.h>

#include <string>

namespace mediaconverter {

/// Lets `output`, which only its owner can read so far, be read by those who may read `source` and by nobody else, as
/// far as its file system can say so: owner where this user may give files away, group, mode, access list. What can't
/// be had is replaced by something tighter. Then the user's own extended attributes come along.
/// Gives back a sentence where readers or attributes were left out, else an empty text.
std::string takeAccess(int source, const struct stat& status, int output);

}  // namespace mediaconverter
