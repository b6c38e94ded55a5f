#pragma once

#include "mediaconverter/job/SourceFile.h"

#include <optional>
#include <string>

namespace mediaconverter {

/// Removes the file at the path of `source` if it is still the file that was opened, unchanged. If the path is a
/// symbolic link to it, the link is removed and the file stays. None if it is gone, else why it stays.
///
/// No other file is removed, whenever it takes the name: the name is first moved aside, the moved file is checked, and
/// it gets its name back if it is another file. A file that a kill has left aside has its identity in its name; the
/// next removal in the folder removes it if it still matches, and otherwise leaves it.
std::optional<std::string> removeSource(const SourceFile& source);

}  // namespace mediaconverter
