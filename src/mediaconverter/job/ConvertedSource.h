#pragma once

#include "mediaconverter/job/SourceFile.h"

#include <optional>
#include <string>

namespace mediaconverter {

/// Remembers which file a media converter has converted last, so that only this file is removed afterwards. The file
/// stays open meanwhile, so its inode number cannot be reused. Owned by its media converter; any thread may search it.
class ConvertedSource {
public:
    ConvertedSource();
    ~ConvertedSource();

    ConvertedSource(const ConvertedSource&) = delete;
    ConvertedSource& operator=(const ConvertedSource&) = delete;

    /// Remembers `source`. Allocates nothing: the MP4 already exists, and a failure could no longer be reported.
    void remember(SourceFile&& source) noexcept;

    void forget() noexcept;

    /// Removes the file at `path` if some object of this class remembers it. None if it is gone, else why it stays.
    static std::optional<std::string> remove(const std::string& path);

private:
    std::optional<SourceFile> source_;
    ConvertedSource* next_ = nullptr;
};

}  // namespace mediaconverter
