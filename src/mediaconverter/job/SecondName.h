#pragma once

#include <string>

namespace mediaconverter {

/// The longest name of a file, in bytes, on the file systems that Linux has.
inline constexpr std::size_t longestName = 255;

/// `path` with " (mark)", or " (mark 2)" for the number 2, before the extension of its last component. That component
/// is cut at the end of its stem, never within a character of UTF-8, where it would become longer than a name can be.
std::string secondName(const std::string& path, const std::string& mark, int number);

/// The first bytes of `text`, at most `length`, that do not end within a character of UTF-8.
std::string cutAtCharacter(const std::string& text, std::size_t length);

}  // namespace mediaconverter
