#pragma once

#include "mediaconverter/worker/reading/SourceReader.h"

#include <cstdint>
#include <optional>

namespace worker {

/// Where the next FLV tag with audio or video starts, from `position` on.
std::optional<std::int64_t> nextFlvContent(const SourceReader& reader, std::int64_t position);

/// Whether there is audio or video, or something that is not a tag, between the tag that starts at `tag` and the one at
/// `next`.
bool isFlvContentBetween(const SourceReader& reader, std::int64_t tag, std::int64_t next);

}  // namespace worker
