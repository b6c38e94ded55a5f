#include "mediaconverter/job/SecondName.h"

#include "mediaconverter/IZedMediaConverterDestination.h"

#include <algorithm>

namespace mediaconverter {

std::string secondName(const std::string& path, const std::string& mark, int number) {
    const auto slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    std::string stem = path.substr(folder.size());
    std::string end = number == 1 ? " (" + mark + ")" : " (" + mark + " " + std::to_string(number) + ")";
    if (const auto dot = stem.rfind('.'); dot != std::string::npos && dot != 0) {
        end += stem.substr(dot);
        stem.erase(dot);
    }
    // An "extension" that fills the whole name is not one: its end is cut.
    end = cutAtCharacter(end, longestName - std::min<std::size_t>(stem.size(), 1));
    return folder + cutAtCharacter(stem, longestName - end.size()) + end;
}

}  // namespace mediaconverter
