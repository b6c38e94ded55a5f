#include "platform/IntegerReading.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>

namespace {

using platform::integerReading;

constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();

struct Reading {
    std::string text;
    std::int32_t number;
};

class IntegerReadingTest : public testing::TestWithParam<Reading> {};

TEST_P(IntegerReadingTest, ReadsTheLeadingDecimalInteger) {
    EXPECT_EQ(integerReading(std::string_view(GetParam().text)), GetParam().number) << '"' << GetParam().text << '"';
    EXPECT_EQ(integerReading(std::optional<std::string>(GetParam().text)), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(Texts, IntegerReadingTest,
                         testing::Values(Reading{"", 0}, Reading{"0", 0}, Reading{"7", 7}, Reading{"12ab", 12},
                                         Reading{"abc", 0}, Reading{"-5", -5}, Reading{"+5", 5}, Reading{"-", 0},
                                         Reading{"+", 0}, Reading{"--5", 0}, Reading{"+-5", 0}, Reading{"- 5", 0},
                                         Reading{"  42", 42}, Reading{"\t\n\v\f\r 42", 42}, Reading{" -42 ", -42},
                                         Reading{"3.9", 3}, Reading{"0x10", 0}, Reading{"007", 7}, Reading{"1e3", 1},
                                         Reading{"1 2", 1}, Reading{"yes", 0}, Reading{"-0", 0}));

INSTANTIATE_TEST_SUITE_P(Limits, IntegerReadingTest,
                         testing::Values(Reading{"2147483646", largest - 1}, Reading{"2147483647", largest},
                                         Reading{"2147483648", largest}, Reading{"4294967296", largest},
                                         Reading{"99999999999999999999999999", largest},
                                         Reading{"-2147483647", smallest + 1}, Reading{"-2147483648", smallest},
                                         Reading{"-2147483649", smallest},
                                         Reading{"-99999999999999999999999999", smallest}));

TEST(IntegerReadingOneTest, AnAbsentTextReadsAsZero) {
    EXPECT_EQ(integerReading(std::optional<std::string>()), 0);
}

TEST(IntegerReadingOneTest, ANulOrForeignByteEndsTheNumber) {
    EXPECT_EQ(integerReading(std::string_view("12\0"
                                              "34",
                                              5)),
              12);
    EXPECT_EQ(integerReading(std::string_view("12\xC2\xA0"
                                              "34")),
              12);
    EXPECT_EQ(integerReading(std::string_view("\xC2\xA0"
                                              "12")),
              0);
}

}  // namespace
