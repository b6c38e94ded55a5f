#pragma once

#include <string>

namespace mediaconverter {

/// `path` with " (mark)", or " (mark 2)" for the number 2, before the extension of its last component. If that
/// component would become too long for a file name, its stem is cut at the end, never within a UTF-8 character.
std::string secondName(const std::string& path, const std::string& mark, int number);

}  // namespace mediaconverter
