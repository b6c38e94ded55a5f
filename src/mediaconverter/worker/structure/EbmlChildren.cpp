#include "mediaconverter/worker/structure/EbmlChildren.h"

#include "mediaconverter/ByteOrder.h"
#include "mediaconverter/worker/accounting/EbmlElement.h"
#include "mediaconverter/worker/structure/Irregularity.h"

namespace worker {

std::vector<EbmlChild> ebmlChildren(std::span<const std::uint8_t> bytes, std::int64_t position) {
    std::vector<EbmlChild> children;
    while (!bytes.empty()) {
        const auto header = readEbmlHeader(bytes);
        if (!header || header->isUnknownSize || header->size > bytes.size() - header->width) {
            throw Irregularity{"elements that do not fill the one around them", position};
        }
        const auto size = static_cast<std::size_t>(header->size);
        position += static_cast<std::int64_t>(header->width);
        children.push_back({header->id, bytes.subspan(header->width, size), position});
        bytes = bytes.subspan(header->width + size);
        position += static_cast<std::int64_t>(size);
    }
    return children;
}

std::uint64_t numberIn(const EbmlChild& child) {
    if (child.content.size() > sizeof(std::uint64_t)) {
        throw Irregularity{"a number of more than eight bytes", child.position};
    }
    return mediaconverter::bigEndian(child.content, 0, child.content.size());
}

std::int64_t signedNumberIn(const EbmlChild& child) {
    const std::uint64_t number = numberIn(child);
    const std::size_t bits = child.content.size() * 8;
    const bool isNegative = bits > 0 && (number >> (bits - 1)) != 0;
    return static_cast<std::int64_t>(isNegative && bits < 64 ? number | ~std::uint64_t{0} << bits : number);
}

}  // namespace worker
