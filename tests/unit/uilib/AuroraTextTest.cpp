#include "uilib/AuroraText.h"

#include "support/FakeTextMeasure.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

TEST(AuroraTextTest, TheHouseFontIsOfTheNameAndSizeGiven) {
    EXPECT_EQ(fontWithTamsaFontName("TamsaSansTT Light", 12.0), (platform::ui::Font{"TamsaSansTT Light", 12.0}));
}

TEST(AuroraTextTest, TheContainerSizeIsTheFieldsTextInItsFontWrappedAtTheWidth) {
    test::FakeTextMeasure measure;
    measure.setSize("text", {180, 40.5});
    platform::ui::TextField field;
    field.setAttributedStringValue({"text", {"F", 9}, platform::ui::Color::whiteColor()});
    EXPECT_EQ(getTextContainerSize(field, 199), (platform::ui::Size{180, 40.5}));
    EXPECT_EQ(measure.questions(), (std::vector<test::FakeTextMeasure::Question>{{"text", {"F", 9}, 199}}));
}

}  // namespace
