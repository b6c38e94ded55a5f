#pragma once

#include <cstdarg>
#include <cstddef>
#include <optional>
#include <string>

namespace ktrtrace {

/// A longer text is cut here (bytes), and says so.
inline constexpr std::size_t longestText = std::size_t{16} * 1024;

/// What printf would print; at most `longestText` bytes. Where `format` is one that printf refuses, the format itself;
/// none for a null format.
std::optional<std::string> formatted(const char* format, std::va_list arguments) __attribute__((format(printf, 1, 0)));

/// "module/second: text" in one line; a part that is null or empty is left out. Control characters are escaped, so that
/// a file name can't forge a line, and a text that is too long is cut.
std::string lineOf(const char* module, const char* second, const std::string& text);

}  // namespace ktrtrace
