#pragma once

#include "platform/FileManager.h"

#include <functional>
#include <utility>

namespace mediaconverter {

/// A file manager that removes a file only if it is the very one that the media converter has converted; one that took
/// its name or was changed meanwhile stays.
///
/// A media converter library of another maker may lack the entry point for it. It then decides alone what its success
/// means, and the file at the path is removed as the platform's file manager does it. Any thread.
class ConvertedFileManager final : public platform::FileManager {
public:
    /// `log` is given a line for each file that stays.
    explicit ConvertedFileManager(std::function<void(const std::string&)> log = {}) : log_(std::move(log)) {}

    /// For an MP4's name that is longer than a name can be, about the one that the MP4 gets instead.
    bool fileExistsAtPath(const std::string& path, bool* isDirectory) const override;

    /// Null when the file is gone, else why it stays.
    std::optional<std::string> removeItemAtPath(const std::string& path) override;

private:
    std::function<void(const std::string&)> log_;
    platform::PosixFileManager files_;
};

}  // namespace mediaconverter
