#pragma once

#include "mediaconverter/job/SourceFile.h"

#include <string>

namespace mediaconverter {

/// A second name for the data of a recording that could be saved only in part: `name (damaged).ext` beside it, so that
/// the data outlives the recording's own name. Throws JobFailure if it cannot be created.
class DamagedSource {
public:
    /// Creates and syncs the name: a link, or a copy if the file system has no links. Never replaces a file.
    explicit DamagedSource(const SourceFile& source);

    /// Removes the name again, unless it is to be kept.
    ~DamagedSource();

    DamagedSource(const DamagedSource&) = delete;
    DamagedSource& operator=(const DamagedSource&) = delete;

    const std::string& path() const { return path_; }
    void keep() { kept_ = true; }

private:
    bool linkTo(const SourceFile& source, const std::string& path);
    bool copyTo(const SourceFile& source, const std::string& path);
    void syncFolder() const;

    std::string path_;
    bool kept_ = false;
};

}  // namespace mediaconverter
