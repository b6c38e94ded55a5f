#pragma once

#include <string>

namespace mediaconverter {

/// `path` with " (mark)", or " (mark 2)" for the number 2, before the extension of its last component. That component
/// is cut at the end of its stem, never within a character of UTF-8, where it would become longer than a name can be.
std::string secondName(const std::string& path, const std::string& mark, int number);

}  // namespace mediaconverter
