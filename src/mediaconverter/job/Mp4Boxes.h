#pragma once

#include "mediaconverter/Boxes.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace mediaconverter {

/// Passes the boxes that fill the file from `start` to `end` to `visit`, one after the other, reading only their
/// headers. None if they fill the range exactly, else the position without a valid box: its size leaves the range or is
/// open (0), or there are more boxes than any real file has at one level (1000), or the file cannot be read there.
std::optional<std::int64_t> walkBoxes(int descriptor, std::int64_t start, std::int64_t end,
                                      const std::function<void(const FileBox&)>& visit);

/// Whether the file is a complete MP4 that needs no conversion: boxes from its first byte to its last, data, and an
/// index without fragments. False for QuickTime files.
bool isFlatMp4(int descriptor);

}  // namespace mediaconverter
