#pragma once

#include <cstddef>
#include <string>

namespace mediaconverter {

/// The longest file name, in bytes, on Linux file systems.
inline constexpr std::size_t longestName = 255;

/// At most `length` first bytes of `text`, cut so that they do not end within a UTF-8 character.
inline std::string cutAtCharacter(const std::string& text, std::size_t length) {
    const auto continuesAt = [&](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80; };
    if (text.size() <= length) {
        return text;
    }
    // A character has at most three bytes after its first; anything longer is not UTF-8 and may be cut anywhere.
    std::size_t end = length;
    while (end > 0 && length - end < 3 && continuesAt(end)) {
        --end;
    }
    return text.substr(0, continuesAt(end) ? length : end);
}

}  // namespace mediaconverter

/// The path of the MP4 for `destination`. It is `destination` itself, unless the last component is too long for a file
/// name: that component is then cut, before ".mp4" or "(number).mp4" and never within a UTF-8 character. Any thread.
inline std::string FittingDestination(const std::string& destination) {
    const std::size_t start = destination.rfind('/') + 1;  // 0 if there is no slash
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
