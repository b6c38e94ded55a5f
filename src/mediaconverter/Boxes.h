#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// The boxes of MP4 and QuickTime files (ISO/IEC 14496-12, 4.2): a size that includes the header, a type of four
// letters, and the content.

namespace mediaconverter {

/// The four letters of a box type as the number that they form in the file.
constexpr std::uint32_t boxType(const char (&name)[5]) {
    std::uint32_t type = 0;
    for (std::size_t index = 0; index < 4; ++index) {
        type = type << 8U | static_cast<std::uint8_t>(name[index]);
    }
    return type;
}

/// Length of a header with a 32-bit size, and of one with a 64-bit size, in bytes.
constexpr std::size_t shortBoxHeader = 8;
constexpr std::size_t longBoxHeader = 16;

/// Many boxes begin their content with a version and flags (4.2, FullBox). Bytes.
constexpr std::size_t versionAndFlags = 4;

struct BoxHeader {
    std::uint32_t type = 0;
    std::size_t length = 0;  ///< of the header itself
    std::uint64_t size = 0;  ///< of the whole box; 0 if it extends to the end of the file

    bool is(const char (&name)[5]) const { return type == boxType(name); }
};

/// The header at the start of `bytes`. None if it is cut, or states a size that does not even hold the header.
std::optional<BoxHeader> readBoxHeader(std::span<const std::uint8_t> bytes);

/// Appends the header of a box of `size` bytes, header included: the short one if the size fits.
void appendBoxHeader(std::vector<std::uint8_t>& bytes, std::uint32_t type, std::uint64_t size);

/// A box in a file.
struct FileBox {
    std::uint32_t type = 0;
    std::int64_t start = 0;
    std::int64_t content = 0;  ///< where it starts
    std::int64_t end = 0;      ///< according to its size; may be beyond the end of the file

    bool is(const char (&name)[5]) const { return type == boxType(name); }
};

/// The box at `position`, of whose bytes `bytes` are the first; sixteen suffice. Media data without a size of its own
/// ends at `fileEnd`. None if the bytes are no box.
std::optional<FileBox> placeBox(std::span<const std::uint8_t> bytes, std::int64_t position, std::int64_t fileEnd);

/// A complete box in memory.
struct MemoryBox {
    std::uint32_t type = 0;
    std::span<const std::uint8_t> whole;
    std::span<const std::uint8_t> content;

    bool is(const char (&name)[5]) const { return type == boxType(name); }
};

/// Removes the first box from `bytes`; none if they do not start with a complete box.
std::optional<MemoryBox> popBox(std::span<const std::uint8_t>& bytes);

/// The boxes that fill `bytes`; none if they do not fill it exactly.
std::optional<std::vector<MemoryBox>> boxesThatFill(std::span<const std::uint8_t> bytes);

/// The content of the first child of `type`; empty if there is none.
std::span<const std::uint8_t> childOf(std::span<const std::uint8_t> bytes, std::uint32_t type);

}  // namespace mediaconverter
