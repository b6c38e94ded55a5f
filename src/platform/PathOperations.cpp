#include "platform/PathOperations.h"

namespace platform {

namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') {
        path.remove_suffix(1);
    }
    return path;
}

/// Where the extension's dot stands in a last component; npos when the component has no extension.
std::string_view::size_type extensionDot(std::string_view component) {
    const auto dot = component.rfind('.');
    // A leading dot hides a file; it does not begin an extension.
    return dot == 0 ? std::string_view::npos : dot;
}

}  // namespace

std::string_view lastPathComponent(std::string_view path) {
    const auto trimmed = withoutTrailingSlashes(path);
    if (trimmed == "/") {
        return trimmed;
    }
    // npos + 1 is 0: a path without a slash is its own last component.
    return trimmed.substr(trimmed.rfind('/') + 1);
}

std::string_view deletingLastPathComponent(std::string_view path) {
    const auto trimmed = withoutTrailingSlashes(path);
    const auto slash = trimmed.rfind('/');
    if (slash == std::string_view::npos) {
        return {};
    }
    return withoutTrailingSlashes(trimmed.substr(0, slash == 0 ? 1 : slash));
}

std::string_view pathExtension(std::string_view path) {
    const auto component = lastPathComponent(path);
    const auto dot = extensionDot(component);
    return dot == std::string_view::npos ? std::string_view() : component.substr(dot + 1);
}

std::string_view deletingPathExtension(std::string_view path) {
    const auto trimmed = withoutTrailingSlashes(path);
    const auto component = lastPathComponent(trimmed);
    const auto dot = extensionDot(component);
    return dot == std::string_view::npos ? trimmed : trimmed.substr(0, trimmed.size() - component.size() + dot);
}

std::string appendingPathComponent(const std::string& folder, const std::string& component) {
    if (folder.empty()) {
        return component;
    }
    return folder.back() == '/' ? folder + component : folder + '/' + component;
}

}  // namespace platform
