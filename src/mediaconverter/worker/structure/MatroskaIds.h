#pragma once

#include <cstdint>

/// Identifiers of elements, as the standard writes them (RFC 9559, section 5.1).
namespace worker::matroska {

inline constexpr std::uint32_t ebml = 0x1A45DFA3;
inline constexpr std::uint32_t segment = 0x18538067;
inline constexpr std::uint32_t seekHead = 0x114D9B74;
inline constexpr std::uint32_t info = 0x1549A966;
inline constexpr std::uint32_t tracks = 0x1654AE6B;
inline constexpr std::uint32_t cluster = 0x1F43B675;
inline constexpr std::uint32_t cues = 0x1C53BB6B;
inline constexpr std::uint32_t attachments = 0x1941A469;
inline constexpr std::uint32_t chapters = 0x1043A770;
inline constexpr std::uint32_t tags = 0x1254C367;
inline constexpr std::uint32_t voidElement = 0xEC;
inline constexpr std::uint32_t checksum = 0xBF;
inline constexpr std::uint32_t timestamp = 0xE7;
inline constexpr std::uint32_t clusterPosition = 0xA7;
inline constexpr std::uint32_t previousSize = 0xAB;
inline constexpr std::uint32_t simpleBlock = 0xA3;
inline constexpr std::uint32_t blockGroup = 0xA0;
inline constexpr std::uint32_t block = 0xA1;
inline constexpr std::uint32_t blockDuration = 0x9B;
inline constexpr std::uint32_t referencePriority = 0xFA;
inline constexpr std::uint32_t referenceBlock = 0xFB;
inline constexpr std::uint32_t discardPadding = 0x75A2;
inline constexpr std::uint32_t timestampScale = 0x2AD7B1;
inline constexpr std::uint32_t trackEntry = 0xAE;
inline constexpr std::uint32_t trackNumber = 0xD7;
inline constexpr std::uint32_t trackType = 0x83;
inline constexpr std::uint32_t codecId = 0x86;
inline constexpr std::uint32_t contentEncodings = 0x6D80;
inline constexpr std::uint32_t defaultDuration = 0x23E383;
inline constexpr std::uint32_t codecDelay = 0x56AA;
inline constexpr std::uint32_t trackTimestampScale = 0x23314F;

}  // namespace worker::matroska
