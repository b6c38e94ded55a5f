#pragma once

#include <string>
#include <string_view>

/// Operations on path texts. They only read the text, never the disk, and accept any bytes: a path need not be valid
/// UTF-8. Trailing slashes are not part of the last component. Returned views point into the argument. Any thread.
namespace platform {

struct PathParts {
    std::string_view folder;
    std::string_view lastComponent;
};

/// The results of the next two functions, computed together.
PathParts splitLastPathComponent(std::string_view path);

/// "/a/b/rec.tmp" gives "rec.tmp", "/a/b/" gives "b", "/" gives "/", "" gives "".
std::string_view lastPathComponent(std::string_view path);

/// "/a/b/rec.tmp" gives "/a/b", "/rec.tmp" gives "/", "rec.tmp" gives "".
std::string_view deletingLastPathComponent(std::string_view path);

/// The text after the last "." of the last component, without the dot: "rec.tmp" gives "tmp". "" if there is none; a
/// name whose only dot comes first (".hidden") has no extension.
std::string_view pathExtension(std::string_view path);

/// The path without its extension and the dot before it: "/a/rec.tmp" gives "/a/rec", ".hidden" stays.
std::string_view deletingPathExtension(std::string_view path);

/// `folder` and `component` joined by exactly one slash; an empty folder gives `component` alone.
std::string appendingPathComponent(const std::string& folder, const std::string& component);

}  // namespace platform
