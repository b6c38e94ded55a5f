#pragma once

#include "mediaconverter/worker/SourceReader.h"

#include <cstdint>
#include <optional>

namespace worker {

/// Where the next tag of an FLV starts, from `position` on, that has sound or picture in it.
std::optional<std::int64_t> nextFlvContent(const SourceReader& reader, std::int64_t position);

/// True where there is sound or picture between the tag that starts at `tag` and the one at `next`, or something that
/// is no tag.
bool isFlvContentBetween(const SourceReader& reader, std::int64_t tag, std::int64_t next);

}  // namespace worker
