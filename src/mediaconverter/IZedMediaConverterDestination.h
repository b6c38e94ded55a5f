#pragma once

#include <cstddef>
#include <string>

namespace mediaconverter {

/// The longest name of a file, in bytes, on the file systems that Linux has.
inline constexpr std::size_t longestName = 255;

/// The first bytes of `text`, at most `length`, that do not end within a character of UTF-8.
inline std::string cutAtCharacter(const std::string& text, std::size_t length) {
    const auto continuesAt = [&](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80; };
    if (text.size() <= length) {
        return text;
    }
    // A character has at most three bytes after its first; more than that is no UTF-8 and may be cut anywhere.
    std::size_t end = length;
    while (end > 0 && length - end < 3 && continuesAt(end)) {
        --end;
    }
    return text.substr(0, continuesAt(end) ? length : end);
}

}  // namespace mediaconverter

/// The path that the MP4 for `destination` gets. It is `destination` itself, unless its last component is longer than
/// a name can be: then that component is cut, before ".mp4" or "(number).mp4" and never within a character of UTF-8.
/// Any thread.
inline std::string FittingDestination(const std::string& destination) {
    const std::size_t start = destination.rfind('/') + 1;  // 0 where there is no slash
    const std::string name = destination.substr(start);
    const std::string extension = ".mp4";
    if (name.size() <= mediaconverter::longestName || !name.ends_with(extension)) {
        return destination;
    }
    std::size_t end = name.size() - extension.size();
    if (name[end - 1] == ')') {
        const std::size_t digits = name.find_last_not_of("0123456789", end - 2);
        end = digits != std::string::npos && digits < end - 2 && name[digits] == '(' ? digits : end;
    }
    const std::string ending = name.substr(end);
    return destination.substr(0, start) +
           mediaconverter::cutAtCharacter(name.substr(0, end), mediaconverter::longestName - ending.size()) + ending;
}
