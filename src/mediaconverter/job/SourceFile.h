#pragma once

#include "mediaconverter/job/UniqueDescriptor.h"

#include <sys/stat.h>

#include <string>

namespace mediaconverter {

/// The recording, opened for reading and nothing else. Every operation throws JobFailure.
class SourceFile {
public:
    /// Opens the file that `path` leads to. Never waits (a FIFO without a writer does not block) and refuses
    /// everything but a regular file that holds something.
    explicit SourceFile(std::string path);

    int descriptor() const { return descriptor_.get(); }
    const std::string& path() const { return path_; }

    /// What the file was when it was opened.
    const struct stat& status() const { return status_; }

    /// Fails when the file is not what it was when it was opened: its size, its modification time, or the file that
    /// the path leads to.
    void requireUnchanged() const;

    /// True where a living process holds the file open for writing, as far as this user may see.
    bool isOpenForWriting() const;

private:
    std::string path_;
    UniqueDescriptor descriptor_;
    struct stat status_ = {};
};

}  // namespace mediaconverter
