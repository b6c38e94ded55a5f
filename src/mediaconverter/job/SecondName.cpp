#include "mediaconverter/job/SecondName.h"

#include <algorithm>

namespace mediaconverter {

namespace {

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

}  // namespace

std::string cutAtCharacter(const std::string& text, std::size_t length) {
    if (text.size() <= length) {
        return text;
    }
    // A character has at most three bytes after its first; more than that is no UTF-8 and may be cut anywhere.
    std::size_t end = length;
    while (end > 0 && length - end < 3 && continuesCharacter(text[end])) {
        --end;
    }
    return text.substr(0, continuesCharacter(text[end]) ? length : end);
}

std::string secondName(const std::string& path, const std::string& mark, int number) {
    const auto slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    std::string stem = path.substr(folder.size());
    std::string end = number == 1 ? " (" + mark + ")" : " (" + mark + " " + std::to_string(number) + ")";
    if (const auto dot = stem.rfind('.'); dot != std::string::npos && dot != 0) {
        end += stem.substr(dot);
        stem.erase(dot);
    }
    // An extension that fills the name is none: it gives up its end.
    end = cutAtCharacter(end, longestName - std::min<std::size_t>(stem.size(), 1));
    return folder + cutAtCharacter(stem, longestName - end.size()) + end;
}

}  // namespace mediaconverter
