#pragma once

#include "mediaconverter/job/SourceFile.h"

#include <optional>
#include <string>

namespace mediaconverter {

/// Remembers which file a media converter has converted last, so that this file and no other is removed afterwards.
/// The file stays open meanwhile: its inode number cannot pass to another file. Owned by its media converter; any
/// thread may look for it.
class ConvertedSource {
public:
    ConvertedSource();
    ~ConvertedSource();

    ConvertedSource(const ConvertedSource&) = delete;
    ConvertedSource& operator=(const ConvertedSource&) = delete;

    /// Remembers `source`. Allocates nothing: the MP4 stands already, and a failure could not be reported any more.
    void remember(SourceFile&& source) noexcept;

    void forget() noexcept;

    /// Removes the file at `path` if some object of this class remembers it. None when it is gone, else why it stays.
    static std::optional<std::string> remove(const std::string& path);

private:
    std::optional<SourceFile> source_;
    ConvertedSource* next_ = nullptr;
};

}  // namespace mediaconverter
