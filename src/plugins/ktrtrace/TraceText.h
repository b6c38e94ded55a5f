#pragma once

#include <cstdarg>
#include <cstddef>
#include <optional>
#include <string>

namespace ktrtrace {

/// Longer texts are cut here (bytes), and marked as cut.
inline constexpr std::size_t longestText = std::size_t{16} * 1024;

/// The output of printf, at most `longestText` bytes. If printf rejects `format`, the format itself; none for a null
/// format.
std::optional<std::string> formatted(const char* format, std::va_list arguments) __attribute__((format(printf, 1, 0)));

/// "module/second: text" in one line; null or empty parts are omitted. Control characters are escaped, so that a file
/// name cannot forge a line, and a text that is too long is cut.
std::string lineOf(const char* module, const char* second, const std::string& text);

}  // namespace ktrtrace
