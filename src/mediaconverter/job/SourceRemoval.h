#pragma once

#include "mediaconverter/job/SourceFile.h"

#include <optional>
#include <string>

namespace mediaconverter {

/// Removes the file at the path of `source` if it still is the file that was opened, unchanged. Where the path is a
/// symbolic link to it, the link goes and the file stays. None when it is gone, else why it stays.
///
/// No other file is removed, whenever it takes the name: the name is moved aside first, what has moved is looked at,
/// and given its name back if it is another file. What a kill leaves aside carries in its name what it was; the next
/// removal in the folder takes it away if it still is that, and leaves it if not.
std::optional<std::string> removeSource(const SourceFile& source);

}  // namespace mediaconverter
