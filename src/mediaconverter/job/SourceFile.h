#pragma once

#include "mediaconverter/job/UniqueDescriptor.h"

#include <string>
#include <sys/stat.h>

namespace mediaconverter {

/// The recording, opened for reading only. Every operation throws JobFailure.
class SourceFile {
public:
    /// Opens the file at `path`. Never blocks (not even on a FIFO without a writer) and rejects everything but a
    /// regular file.
    explicit SourceFile(std::string path);

    /// Records the current state of the file, which it must keep from now on, and rejects an empty file.
    void readState();

    int descriptor() const { return descriptor_.get(); }
    const std::string& path() const { return path_; }

    /// The state of the file when it was last recorded, initially when it was opened.
    const struct stat& status() const { return status_; }

    /// Fails if the file has changed since its state was recorded: its size, its modification time, or the file that
    /// the path leads to.
    void requireUnchanged() const;

private:
    std::string path_;
    UniqueDescriptor descriptor_;
    struct stat status_ = {};
};

}  // namespace mediaconverter
