#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mediaconverter {

/// The names in the open folder that start with `prefix` and end with `suffix`, in no particular order; none if it
/// cannot be read. The descriptor keeps its position. Any thread.
std::vector<std::string> namesIn(int folder, std::string_view prefix, std::string_view suffix);

}  // namespace mediaconverter
