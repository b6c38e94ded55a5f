#pragma once

#include <string>
#include <sys/stat.h>

namespace mediaconverter {

/// Gives `output`, which so far only its owner can read, exactly the readers of `source`, as far as its file system
/// supports it: owner if this user may change owners, group, mode, access list. What is not possible is replaced by
/// something stricter. Then copies the user's own extended attributes. Returns a sentence if readers or attributes were
/// left out, else an empty text.
std::string copyAccess(int source, const struct stat& status, int output);

}  // namespace mediaconverter
