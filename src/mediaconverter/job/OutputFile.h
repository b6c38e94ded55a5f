#pragma once

#include "mediaconverter/job/SourceFile.h"
#include "mediaconverter/job/UniqueDescriptor.h"

#include <sys/stat.h>

#include <string>

namespace mediaconverter {

/// The MP4 in the making: a file without a name in the destination's folder, or, where the file system has no such
/// files, a hidden one. It gets its name only through publish(); until then its end leaves nothing behind.
/// Every operation throws JobFailure.
class OutputFile {
public:
    /// Makes the file, for the readers of `source` and nobody else. A name that is longer than a name can be is cut.
    OutputFile(const std::string& destination, const SourceFile& source);
    ~OutputFile();

    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    int descriptor() const { return descriptor_.get(); }

    /// What of the source's readers and attributes the file could not be given, for the log; may be empty.
    const std::string& limitation() const { return limitation_; }

    /// Takes the time of `source` and brings data and state to the disk. A failed sync is not tried again: the kernel
    /// may have forgotten the data by then.
    void sync(const struct stat& source);

    /// Gives the file its destination name, without ever replacing what has it, closes it and brings the folder to
    /// the disk. When that fails the name is as it was.
    void publish();

private:
    void openFolder(const std::string& folder);
    void makeUnnamed();
    void makeHidden();
    void linkUnnamed();
    void renameHidden();
    void renameOverPlaceholder();
    void takeBackName();

    std::string name_;
    std::string limitation_;
    std::string hiddenName_;  ///< empty for a file without a name
    UniqueDescriptor folder_;
    UniqueDescriptor descriptor_;
    struct stat identity_ = {};
};

}  // namespace mediaconverter
