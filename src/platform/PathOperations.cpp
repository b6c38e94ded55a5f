#include "platform/PathOperations.h"

namespace platform {

namespace {

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

/// Where the extension's dot stands in a last component; npos when the component has no extension.
std::string::size_type extensionDot(const std::string& component) {
    const auto dot = component.rfind('.');
    // A leading dot hides a file; it does not begin an extension.
    return dot == 0 ? std::string::npos : dot;
}

}  // namespace

std::string lastPathComponent(const std::string& path) {
    std::string trimmed = withoutTrailingSlashes(path);
    if (trimmed == "/") {
        return trimmed;
    }
    const auto slash = trimmed.rfind('/');
    return slash == std::string::npos ? trimmed : trimmed.substr(slash + 1);
}

std::string deletingLastPathComponent(const std::string& path) {
    const std::string trimmed = withoutTrailingSlashes(path);
    const auto slash = trimmed.rfind('/');
    if (slash == std::string::npos) {
        return {};
    }
    return slash == 0 ? "/" : withoutTrailingSlashes(trimmed.substr(0, slash));
}

std::string pathExtension(const std::string& path) {
    const std::string component = lastPathComponent(path);
    const auto dot = extensionDot(component);
    return dot == std::string::npos ? std::string() : component.substr(dot + 1);
}

std::string deletingPathExtension(const std::string& path) {
    const std::string trimmed = withoutTrailingSlashes(path);
    const std::string component = lastPathComponent(trimmed);
    const auto dot = extensionDot(component);
    return dot == std::string::npos ? trimmed : trimmed.substr(0, trimmed.size() - component.size() + dot);
}

std::string appendingPathComponent(const std::string& folder, const std::string& component) {
    if (folder.empty()) {
        return component;
    }
    return folder.back() == '/' ? folder + component : folder + '/' + component;
}

}  // namespace platform
