#include "mediaconverter/worker/accounting/EbmlElement.h"

#include "mediaconverter/ByteOrder.h"

#include <bit>

namespace worker {

using mediaconverter::bigEndian;

std::optional<EbmlNumber> readEbmlNumber(std::span<const std::uint8_t> bytes) {
    const std::size_t width = bytes.empty() ? 9 : static_cast<std::size_t>(std::countl_zero(bytes[0])) + 1;
    if (width > 8 || width > bytes.size()) {
        return std::nullopt;
    }
    const std::uint64_t most = (std::uint64_t{1} << (7 * width)) - 1;
    const std::uint64_t value = bigEndian(bytes, 0, width) & most;
    return EbmlNumber{value, width, value == most};
}

std::optional<EbmlHeader> readEbmlHeader(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t mostIdWidth = 4;
    const std::size_t idWidth = bytes.empty() ? 9 : static_cast<std::size_t>(std::countl_zero(bytes[0])) + 1;
    if (idWidth > mostIdWidth || idWidth > bytes.size()) {
        return std::nullopt;
    }
    const auto size = readEbmlNumber(bytes.subspan(idWidth));
    if (!size) {
        return std::nullopt;
    }
    return EbmlHeader{static_cast<std::uint32_t>(bigEndian(bytes, 0, idWidth)), size->value, idWidth + size->width,
                      size->isUnknown};
}

}  // namespace worker
