#pragma once

#include <optional>
#include <string>

namespace platform {

/// The few questions that the application asks of the file system. Any thread.
class FileManager {
public:
    virtual ~FileManager() = default;

    /// Whether anything stands at `path`: a file, a folder, a link (dangling ones too, for they occupy the name), any
    /// other kind. `isDirectory`, when given, tells whether it is a folder or a link to one. False when the answer
    /// can't be had.
    virtual bool fileExistsAtPath(const std::string& path, bool* isDirectory) const = 0;

    /// Removes the file at `path`. Null on success, else the system's description of what went wrong.
    virtual std::optional<std::string> removeItemAtPath(const std::string& path) = 0;
};

/// The file manager of any POSIX system. Stateless.
class PosixFileManager final : public FileManager {
public:
    bool fileExistsAtPath(const std::string& path, bool* isDirectory) const override;
    std::optional<std::string> removeItemAtPath(const std::string& path) override;
};

}  // namespace platform
