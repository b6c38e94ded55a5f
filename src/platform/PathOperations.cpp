#include "platform/PathOperations.h"

namespace platform {

namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') {
        path.remove_suffix(1);
    }
    return path;
}

/// Position of the extension's dot in a path without trailing slashes; npos if there is no extension.
std::string_view::size_type extensionDot(std::string_view path) {
    for (auto at = path.size(); at-- > 0 && path[at] != '/';) {
        if (path[at] == '.') {
            // A leading dot in the last component hides a file; it does not start an extension.
            return at == 0 || path[at - 1] == '/' ? std::string_view::npos : at;
        }
    }
    return std::string_view::npos;
}

}  // namespace

PathParts splitLastPathComponent(std::string_view path) {
    const auto trimmed = withoutTrailingSlashes(path);
    if (trimmed == "/") {
        return {trimmed, trimmed};
    }
    const auto slash = trimmed.rfind('/');
    if (slash == std::string_view::npos) {
        return {{}, trimmed};
    }
    return {withoutTrailingSlashes(trimmed.substr(0, slash == 0 ? 1 : slash)), trimmed.substr(slash + 1)};
}

std::string_view lastPathComponent(std::string_view path) {
    return splitLastPathComponent(path).lastComponent;
}

std::string_view deletingLastPathComponent(std::string_view path) {
    return splitLastPathComponent(path).folder;
}

std::string_view pathExtension(std::string_view path) {
    const auto trimmed = withoutTrailingSlashes(path);
    const auto dot = extensionDot(trimmed);
    return dot == std::string_view::npos ? std::string_view() : trimmed.substr(dot + 1);
}

std::string_view deletingPathExtension(std::string_view path) {
    const auto trimmed = withoutTrailingSlashes(path);
    // The whole path if there is no extension, since npos ends a substring at the end.
    return trimmed.substr(0, extensionDot(trimmed));
}

std::string appendingPathComponent(const std::string& folder, const std::string& component) {
    if (folder.empty()) {
        return component;
    }
    return folder.back() == '/' ? folder + component : folder + '/' + component;
}

}  // namespace platform
