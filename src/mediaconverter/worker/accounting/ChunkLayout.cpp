#include "mediaconverter/worker/accounting/ChunkLayout.h"

#include <algorithm>
#include <array>

namespace worker {

namespace {

// RIFF WAVE and EBU Tech 3306, Sony Wave64, AIFF 1.3 and AIFF-C, Apple Core Audio Format 1.0.
constexpr std::array<ChunkLayout, 4> layouts = {{
    {"wav", "RIFF", 12, 4, 4, false, false, 2, "data", 0, 0},
    {"w64", "riff\x2E\x91\xCF\x11", 40, 16, 8, false, true, 8, "data\xF3\xAC\xD3\x11", 0, 0},
    {"aiff", "FORM", 12, 4, 4, true, false, 2, "SSND", 8, 4},
    {"caf", "caff", 8, 4, 8, true, false, 1, "data", 4, 0},
}};

}  // namespace

const ChunkLayout* chunkLayoutOf(std::string_view format) {
    const auto found = std::find_if(layouts.begin(), layouts.end(),
                                    [format](const ChunkLayout& layout) { return format == layout.format; });
    return found == layouts.end() ? nullptr : &*found;
}

}  // namespace worker
