#pragma once

#include "mediaconverter/job/SourceFile.h"
#include "mediaconverter/job/UniqueDescriptor.h"

#include <string>
#include <sys/stat.h>

namespace mediaconverter {

/// The MP4 in progress: an unnamed file in the destination's folder, or a hidden one if the file system has no unnamed
/// files. It gets its name only through publish(); until then its destruction leaves nothing behind. Every operation
/// throws JobFailure.
class OutputFile {
public:
    /// Creates the file, readable only for the readers of `source`. A name that is too long is cut.
    OutputFile(const std::string& destination, const SourceFile& source);
    ~OutputFile();

    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    int descriptor() const { return descriptor_.get(); }

    /// The readers and attributes of the source that the file could not get, for the log; may be empty.
    const std::string& limitation() const { return limitation_; }

    /// Sets the time of `source` and syncs data and state. A failed sync is not retried: the kernel may have dropped
    /// the data by then.
    void sync(const struct stat& source);

    /// Gives the file its destination name, without ever replacing an existing file, closes it and syncs the folder. If
    /// that fails, the name is as it was.
    void publish();

private:
    void openFolder(const std::string& folder);
    void makeUnnamed();
    void makeHidden();
    void linkUnnamed();
    void renameHidden();
    void renameOverPlaceholder();
    void withdrawName();

    std::string name_;
    std::string limitation_;
    std::string hiddenName_;  ///< empty for an unnamed file
    UniqueDescriptor folder_;
    UniqueDescriptor descriptor_;
    struct stat identity_ = {};
};

}  // namespace mediaconverter
