#pragma once

#include <optional>
#include <string>

namespace platform {

/// The few file-system operations that the application needs. Any thread.
class FileManager {
public:
    virtual ~FileManager() = default;

    /// Whether anything exists at `path`: a file, a folder, a link (even a dangling one, because it occupies the name),
    /// or anything else. `isDirectory`, if given, is set to whether it is a folder or a link to one. False if this
    /// cannot be determined.
    virtual bool fileExistsAtPath(const std::string& path, bool* isDirectory) const = 0;

    /// Removes the file at `path`. Null on success, else the system's description of the error.
    virtual std::optional<std::string> removeItemAtPath(const std::string& path) = 0;
};

/// The file manager of any POSIX system. Stateless.
class PosixFileManager final : public FileManager {
public:
    bool fileExistsAtPath(const std::string& path, bool* isDirectory) const override;
    std::optional<std::string> removeItemAtPath(const std::string& path) override;
};

}  // namespace platform
