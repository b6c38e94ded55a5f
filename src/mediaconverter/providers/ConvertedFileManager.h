#pragma once

#include "platform/FileManager.h"

#include <functional>
#include <utility>

namespace mediaconverter {

/// A file manager that removes a file only if it is the one that the media converter has converted; a file that took
/// its name, or was changed meanwhile, stays.
///
/// Another media converter library may lack the entry point for this. That library alone is then responsible for its
/// success report, and the file at the path is removed by the platform's file manager. Any thread.
class ConvertedFileManager final : public platform::FileManager {
public:
    /// `log` receives a line for each file that stays.
    explicit ConvertedFileManager(std::function<void(const std::string&)> log = {}) : log_(std::move(log)) {}

    /// If an MP4's name is too long, checks the name that the MP4 gets instead.
    bool fileExistsAtPath(const std::string& path, bool* isDirectory) const override;

    /// Null if the file is gone, else why it stays.
    std::optional<std::string> removeItemAtPath(const std::string& path) override;

private:
    std::function<void(const std::string&)> log_;
    platform::PosixFileManager files_;
};

}  // namespace mediaconverter
