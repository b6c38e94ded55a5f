#include "platform/FileURL.h"

#include "platform/PathOperations.h"

#include <string_view>
#include <utility>

namespace platform {

FileURL::FileURL(std::string path, bool isDirectory) : path_(std::move(path)), isDirectory_(isDirectory) {}

FileURL FileURL::fileURLWithPath(std::string path, bool isDirectory) {
    return {std::move(path), isDirectory};
}

FileURL FileURL::deletingLastPathComponent() const {
    FileURL folder(std::string(platform::deletingLastPathComponent(path_)), true);
    folder.item_ = path_;
    return folder;
}

std::string FileURL::absoluteString() const {
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr std::string_view hex = "0123456789ABCDEF";
    std::string text = "file://";
    for (const char c : path_) {
        if (plain.find(c) != std::string_view::npos) {
            text += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        text += '%';
        text += hex[byte >> 4U];
        text += hex[byte & 0x0FU];
    }
    if (isDirectory_ && text.back() != '/') {
        text += '/';
    }
    return text;
}

bool operator==(const FileURL& left, const FileURL& right) {
    return left.path() == right.path() && left.isDirectory() == right.isDirectory();
}

}  // namespace platform
