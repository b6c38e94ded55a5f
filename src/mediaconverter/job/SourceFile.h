#pragma once

#include "mediaconverter/job/UniqueDescriptor.h"

#include <sys/stat.h>

#include <string>

namespace mediaconverter {

/// The recording, opened for reading and nothing else. Every operation throws JobFailure.
class SourceFile {
public:
    /// Opens the file that `path` leads to. Never waits (a FIFO without a writer does not block) and refuses
    /// everything but a regular file.
    explicit SourceFile(std::string path);

    /// Makes what the file is now what it is to stay, and refuses one that holds nothing.
    void takeState();

    int descriptor() const { return descriptor_.get(); }
    const std::string& path() const { return path_; }

    /// What the file was when its state was taken last, at first when it was opened.
    const struct stat& status() const { return status_; }

    /// Fails when the file is not what it was when its state was taken: its size, its modification time, or the file
    /// that the path leads to.
    void requireUnchanged() const;

private:
    std::string path_;
    UniqueDescriptor descriptor_;
    struct stat status_ = {};
};

}  // namespace mediaconverter
