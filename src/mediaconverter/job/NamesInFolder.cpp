#include "mediaconverter/job/NamesInFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace mediaconverter {

std::vector<std::string> namesIn(int folder, std::string_view prefix, std::string_view suffix) {
    std::vector<std::string> names;
    const int copy = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (copy < 0) {
        return names;
    }
    DIR* const directory = ::fdopendir(copy);
    if (directory == nullptr) {
        ::close(copy);
        return names;
    }
    while (const dirent* const entry = ::readdir(directory)) {
        const std::string_view name(entry->d_name);
        if (name.starts_with(prefix) && name.ends_with(suffix)) {
            names.emplace_back(name);
        }
    }
    ::closedir(directory);
    return names;
}

}  // namespace mediaconverter
