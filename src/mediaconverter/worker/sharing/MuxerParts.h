#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace worker {

/// Keeps those parts of what the muxer writes that do not stay where it writes them: the file type box at the start,
/// and everything from the end of the data on, which is the last samples and the index. Positions are the muxer's.
class MuxerParts {
public:
    /// The muxer writes these bytes. True if they are kept; false if they belong to the data before its end.
    bool keep(std::int64_t position, const std::uint8_t* bytes, std::size_t length);

    /// Everything from `position` on is kept from here on.
    void endData(std::int64_t position);

    /// Where what is kept ends.
    std::int64_t end() const { return tailStart_ + static_cast<std::int64_t>(tail_.size()); }

    /// The file type box. Throws Failure if there is none.
    std::vector<std::uint8_t> fileType() const;

    struct Tail {
        std::int64_t start = 0;           ///< of the last samples
        std::vector<std::uint8_t> data;   ///< the last samples; usually none
        std::vector<std::uint8_t> index;  ///< the movie box
    };

    /// Call once, after the muxer is done. Throws Failure if there is no index.
    Tail releaseTail();

private:
    /// What the muxer writes.
    enum class Phase {
        data,    ///< straight to the file
        tail,    ///< the last samples, kept in memory because the index follows them
        sealed,  ///< the data box has its size, so the next write behind it is the index
    };

    void keepFileType(std::int64_t position, const std::uint8_t* bytes, std::size_t length);

    std::vector<std::uint8_t> fileType_;
    Phase phase_ = Phase::data;
    std::int64_t tailStart_ = 0;
    std::optional<std::int64_t> indexStart_;
    std::vector<std::uint8_t> tail_;
};

}  // namespace worker
