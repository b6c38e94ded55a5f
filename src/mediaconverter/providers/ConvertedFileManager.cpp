#include "mediaconverter/providers/ConvertedFileManager.h"

#include "mediaconverter/IZedMediaConverterDestination.h"
#include "mediaconverter/IZedMediaConverterRemoval.h"

#include <array>

// Weak: the installed library may lack it.
extern "C" __attribute__((weak)) int RemoveConvertedSource(const char* path, char* reason, std::size_t size);

namespace mediaconverter {

bool ConvertedFileManager::fileExistsAtPath(const std::string& path, bool* isDirectory) const {
    return files_.fileExistsAtPath(FittingDestination(path), isDirectory);
}

std::optional<std::string> ConvertedFileManager::removeItemAtPath(const std::string& path) {
    if (RemoveConvertedSource == nullptr) {
        return files_.removeItemAtPath(path);
    }
    std::array<char, 1024> reason{};
    if (RemoveConvertedSource(path.c_str(), reason.data(), reason.size()) == 0) {
        return std::nullopt;
    }
    std::string text = path + " stays: " + reason.data();
    if (log_) {
        log_(text);
    }
    return text;
}

}  // namespace mediaconverter
