#include "mediaconverter/Boxes.h"

#include "mediaconverter/ByteOrder.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

// The structure that all code about MP4 files builds on.

namespace {

using namespace mediaconverter;
using Bytes = std::vector<std::uint8_t>;

Bytes box(std::uint32_t type, std::size_t contentSize) {
    Bytes bytes;
    appendBoxHeader(bytes, type, shortBoxHeader + contentSize);
    bytes.resize(bytes.size() + contentSize, 0x5A);
    return bytes;
}

TEST(ByteOrderTest, ANumberIsReadAsItWasWritten) {
    Bytes bytes;
    appendBigEndian(bytes, 3, 0x123456);
    EXPECT_EQ(bytes, (Bytes{0x12, 0x34, 0x56}));
    EXPECT_EQ(bigEndian(bytes, 0, 3), 0x123456U);
    EXPECT_EQ(littleEndian(bytes, 0, 3), 0x563412U);
    putBigEndian(bytes, 1, 2, 0xABCD);
    EXPECT_EQ(bytes, (Bytes{0x12, 0xAB, 0xCD}));
}

TEST(ByteOrderTest, EightBytesAreTheMost) {
    Bytes bytes;
    appendBigEndian(bytes, 8, UINT64_MAX - 1);
    EXPECT_EQ(bigEndian(bytes, 0, 8), UINT64_MAX - 1);
    EXPECT_EQ(littleEndian(bytes, 0, 8), 0xFEFF'FFFF'FFFF'FFFFU);
}

TEST(BoxesTest, ASizeBeyond32BitsTakesTheLongHeader) {
    for (const std::uint64_t size : {std::uint64_t{8}, std::uint64_t{UINT32_MAX}, std::uint64_t{UINT32_MAX} + 1}) {
        Bytes bytes;
        appendBoxHeader(bytes, boxType("mdat"), size);
        EXPECT_EQ(bytes.size(), size > UINT32_MAX ? longBoxHeader : shortBoxHeader) << size;
        const auto header = readBoxHeader(bytes);
        ASSERT_TRUE(header) << size;
        EXPECT_TRUE(header->is("mdat")) << size;
        EXPECT_EQ(header->size, size);
        EXPECT_EQ(header->length, bytes.size()) << size;
    }
}

TEST(BoxesTest, ASizeThatDoesNotHoldTheHeaderIsNone) {
    EXPECT_FALSE(readBoxHeader(Bytes{0, 0, 0, 7, 'f', 'r', 'e', 'e'}));
    EXPECT_TRUE(readBoxHeader(Bytes{0, 0, 0, 8, 'f', 'r', 'e', 'e'}));
    EXPECT_FALSE(readBoxHeader(Bytes{0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 0, 15}));
    EXPECT_TRUE(readBoxHeader(Bytes{0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 0, 16}));
    EXPECT_FALSE(readBoxHeader(Bytes{0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(BoxesTest, ACutHeaderIsNone) {
    EXPECT_FALSE(readBoxHeader(Bytes{0, 0, 0, 8, 'f', 'r', 'e'}));
    // Whatever the missing byte is, the size would hold the header.
    EXPECT_FALSE(readBoxHeader(Bytes{0, 0, 0, 1, 'f', 'r', 'e', 'e', 0, 0, 0, 0, 0, 0, 1}));
}

TEST(BoxesTest, OnlyMediaDataMayExtendToTheEndOfTheFile) {
    const auto data = placeBox(Bytes{0, 0, 0, 0, 'm', 'd', 'a', 't'}, 100, 5000);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->content, 108);
    EXPECT_EQ(data->end, 5000);
    EXPECT_FALSE(placeBox(Bytes{0, 0, 0, 0, 'm', 'o', 'o', 'v'}, 100, 5000));
}

TEST(BoxesTest, ABoxInAFileMayEndBeyondItButNotBeyondAllNumbers) {
    const auto cut = placeBox(Bytes{0, 1, 0, 0, 'm', 'o', 'o', 'v'}, 100, 5000);
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->end, 100 + 0x10000);
    Bytes huge;
    appendBoxHeader(huge, boxType("mdat"), std::uint64_t{INT64_MAX} - 99);
    EXPECT_FALSE(placeBox(huge, 100, 5000));
    EXPECT_TRUE(placeBox(huge, 99, 5000));
}

TEST(BoxesTest, BoxesLeaveTheBytesOneByOne) {
    Bytes bytes = box(boxType("mvhd"), 3);
    const Bytes second = box(boxType("trak"), 0);
    bytes.insert(bytes.end(), second.begin(), second.end());
    std::span<const std::uint8_t> rest = bytes;
    const auto first = popBox(rest);
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->is("mvhd"));
    EXPECT_EQ(first->whole.size(), 11U);
    EXPECT_EQ(first->content.size(), 3U);
    EXPECT_EQ(rest.size(), shortBoxHeader);
    EXPECT_TRUE(popBox(rest));
    EXPECT_FALSE(popBox(rest));
    EXPECT_EQ(childOf(bytes, boxType("mvhd")).size(), 3U);
    EXPECT_TRUE(childOf(bytes, boxType("moof")).empty());
}

TEST(BoxesTest, BoxesMustFillTheirParentExactly) {
    Bytes bytes = box(boxType("mvhd"), 3);
    EXPECT_EQ(boxesThatFill(bytes)->size(), 1U);
    EXPECT_TRUE(boxesThatFill({})->empty());
    bytes.push_back(0);
    EXPECT_FALSE(boxesThatFill(bytes));
    bytes.resize(bytes.size() - 2);
    EXPECT_FALSE(boxesThatFill(bytes));
}

TEST(BoxesTest, ABoxInMemoryIsWhole) {
    const Bytes cut = {0, 0, 0, 9, 'f', 'r', 'e', 'e'};
    std::span<const std::uint8_t> rest = cut;
    EXPECT_FALSE(popBox(rest));
    EXPECT_EQ(rest.size(), cut.size());
}

TEST(BoxesTest, ABoxInMemoryHasASize) {
    const Bytes open = {0, 0, 0, 0, 'm', 'd', 'a', 't', 1, 2, 3};
    std::span<const std::uint8_t> rest = open;
    EXPECT_FALSE(popBox(rest));
}

}  // namespace
