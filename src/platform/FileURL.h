#pragma once

#include <string>

namespace platform {

/// A file or folder on this machine, in the form that a workspace opens. Value; any thread.
class FileURL {
public:
    /// `path` is absolute, in the file system's own bytes.
    static FileURL fileURLWithPath(std::string path, bool isDirectory);

    /// The folder that holds the item, marked as a folder, which remembers the item.
    FileURL deletingLastPathComponent() const;

    /// Path of the item that the folder is to be opened for; empty if there is none.
    const std::string& item() const { return item_; }

    const std::string& path() const { return path_; }
    bool isDirectory() const { return isDirectory_; }

    /// "file://" and the path, every byte outside RFC 3986's unreserved set and "/" percent-encoded; a folder ends in
    /// a slash.
    std::string absoluteString() const;

private:
    FileURL(std::string path, bool isDirectory);

    std::string path_;
    bool isDirectory_;
    std::string item_;
};

/// Whether both name the same place; the item is ignored.
bool operator==(const FileURL& left, const FileURL& right);

}  // namespace platform
