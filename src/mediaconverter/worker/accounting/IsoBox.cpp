#include "mediaconverter/worker/accounting/IsoBox.h"

namespace worker {

namespace {

bool isPrintable(std::uint32_t type) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        const unsigned byte = type >> shift & 0xFFU;
        // 0xA9 starts the names of QuickTime's text boxes.
        if ((byte < 0x20 || byte > 0x7E) && byte != 0xA9) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::optional<mediaconverter::FileBox> readIsoBox(SourceView& view, std::int64_t position) {
    const auto bytes = view.at(position, mediaconverter::longBoxHeader);
    const auto box = mediaconverter::placeBox(bytes, position, view.size());
    return box && isPrintable(box->type) ? box : std::nullopt;
}

}  // namespace worker
