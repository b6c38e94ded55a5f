#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace worker {

/// The layout of a container that holds one range of audio between named chunks.
struct ChunkLayout {
    const char* format;          ///< the media library's name
    std::string_view beginning;  ///< of another recording of the same kind
    std::int64_t firstChunk;     ///< byte at which the first chunk starts
    std::size_t nameWidth;
    std::size_t sizeWidth;  ///< the size follows the name
    bool isBigEndian;
    bool countsHeader;       ///< the size includes name and size
    std::int64_t alignment;  ///< chunks start at multiples of it
    std::string_view dataName;
    std::int64_t dataPrefix;  ///< bytes in the data chunk before the audio
    std::size_t wholeSizeAt;  ///< position of the size of all chunks; 0 if there is none to correct
};

/// Null for a format of another kind.
const ChunkLayout* chunkLayoutOf(std::string_view format);

}  // namespace worker
