#include "platform/UserInfo.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>

namespace {

using platform::Bytes;
using platform::integerValue;
using platform::textValue;
using platform::UserInfoValue;

constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();

TEST(UserInfoTest, IntegersAreReadByTheirLowest32Bits) {
    EXPECT_EQ(integerValue(std::int32_t{-5}), -5);
    EXPECT_EQ(integerValue(std::uint32_t{4294967291U}), -5);
    EXPECT_EQ(integerValue(std::int64_t{4711}), 4711);
    EXPECT_EQ(integerValue(std::int64_t{0x100000007}), 7);
    EXPECT_EQ(integerValue(std::uint64_t{0xFFFFFFFFFFFFFFFFU}), -1);
    EXPECT_EQ(integerValue(std::int16_t{-6}), -6);
    EXPECT_EQ(integerValue(std::uint16_t{65535}), 65535);
    EXPECT_EQ(integerValue(std::uint8_t{200}), 200);
}

TEST(UserInfoTest, TruthValuesAreZeroAndOne) {
    EXPECT_EQ(integerValue(true), 1);
    EXPECT_EQ(integerValue(false), 0);
}

TEST(UserInfoTest, DoublesLoseTheirFractionAndAreClamped) {
    EXPECT_EQ(integerValue(4711.99), 4711);
    EXPECT_EQ(integerValue(-4711.99), -4711);
    EXPECT_EQ(integerValue(1e300), largest);
    EXPECT_EQ(integerValue(-1e300), smallest);
    EXPECT_EQ(integerValue(std::numeric_limits<double>::infinity()), largest);
    EXPECT_EQ(integerValue(-std::numeric_limits<double>::infinity()), smallest);
    EXPECT_EQ(integerValue(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(integerValue(2147483646.5), largest - 1);
}

TEST(UserInfoTest, TextsAndBytesAreReadByTheIntegerReading) {
    EXPECT_EQ(integerValue(std::string(" 12ab")), 12);
    EXPECT_EQ(integerValue(std::string("abc")), 0);
    EXPECT_EQ(integerValue(Bytes{'-', '7'}), -7);
    EXPECT_EQ(integerValue(Bytes{'1', 0, '2'}), 1);
    EXPECT_EQ(integerValue(Bytes{}), 0);
}

TEST(UserInfoTest, StringsAreTexts) {
    EXPECT_EQ(textValue(std::string("/a")), "/a");
    EXPECT_EQ(textValue(std::string()), "");
}

TEST(UserInfoTest, BytesAreTextsUpToTheFirstNul) {
    EXPECT_EQ(textValue(Bytes{'/', 0xFF, 'a'}), "/\xFF"
                                                "a");
    EXPECT_EQ(textValue(Bytes{'/', 'a', 0, 'b'}), "/a");
    EXPECT_EQ(textValue(Bytes{}), "");
}

TEST(UserInfoTest, NumbersHaveNoText) {
    EXPECT_EQ(textValue(std::int32_t{1}), std::nullopt);
    EXPECT_EQ(textValue(1.0), std::nullopt);
    EXPECT_EQ(textValue(true), std::nullopt);
    EXPECT_EQ(textValue(std::uint8_t{'a'}), std::nullopt);
}

}  // namespace
