#pragma once

#include "mediaconverter/Boxes.h"
#include "mediaconverter/worker/accounting/SourceView.h"

#include <optional>

namespace worker {

/// The box at `position`. None if the bytes cannot be a box: its type must be printable too. Media data without a size
/// of its own ends with the file.
std::optional<mediaconverter::FileBox> readIsoBox(SourceView& view, std::int64_t position);

}  // namespace worker
