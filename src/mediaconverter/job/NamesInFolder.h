#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mediaconverter {

/// The names in the open folder that begin with `prefix` and end with `suffix`, in no order; none where it can't be
/// read. The descriptor keeps its position. Any thread.
std::vector<std::string> namesIn(int folder, std::string_view prefix, std::string_view suffix);

}  // namespace mediaconverter
