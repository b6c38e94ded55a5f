#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace mediaconverter {

/// A box of an MP4 (ISO/IEC 14496-12, 4.2).
struct Mp4Box {
    std::string type;  ///< four bytes
    std::uint64_t start = 0;
    std::uint64_t content = 0;  ///< where its content starts
    std::uint64_t end = 0;
};

/// Passes the boxes that fill the file from `start` to `end` to `visit`, one after the other, reading only their
/// headers. None if they fill the range exactly, else the position without a valid box: its size leaves the range or is
/// open (0), or there are more boxes than any real file has at one level (1000), or the file cannot be read there.
std::optional<std::uint64_t> walkBoxes(int descriptor, std::uint64_t start, std::uint64_t end,
                                       const std::function<void(const Mp4Box&)>& visit);

/// Whether the file is a complete MP4 that needs no conversion: boxes from its first byte to its last, data, and an
/// index without fragments. False for QuickTime files.
bool isFlatMp4(int descriptor);

}  // namespace mediaconverter
