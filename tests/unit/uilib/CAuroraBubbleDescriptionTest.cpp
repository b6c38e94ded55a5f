#include "uilib/CAuroraBubbleDescription.h"

#include "uilib/AuroraXStatesButton.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

TEST(CAuroraBubbleDescriptionTest, TheDefaultIsOpaqueBlackClosableAndStill) {
    const auto description = CAuroraBubbleDescription::defaultDescription();
    EXPECT_FALSE(description->bHasArrow());
    EXPECT_EQ(description->arrowDescription(), nullptr);
    EXPECT_FALSE(description->bFade());
    EXPECT_EQ(description->fadeDescription(), nullptr);
    EXPECT_EQ(description->bgColor(), (platform::ui::Color{0, 0, 0, 1}));
    EXPECT_EQ(description->fCornerRadius(), 0);
    EXPECT_TRUE(description->bClosable());
    EXPECT_FALSE(description->bInfoImage());
    EXPECT_NE(description, CAuroraBubbleDescription::defaultDescription()) << "a new one each time";
}

TEST(CAuroraBubbleDescriptionTest, PacksItsRecordsByValue) {
    const CAuroraBubbleDescription description;
    AuroraArrowRecord arrow{6, 20, 10, 40, 40};
    const auto packed = description.packArrowDescription(arrow);
    arrow.width = 0;
    EXPECT_EQ(*packed, (AuroraArrowRecord{6, 20, 10, 40, 40}));
    EXPECT_EQ(*description.packFadeDescription({0.1, 15, 0.2}), (AuroraFadeRecord{0.1, 15, 0.2}));
}

TEST(AuroraXStatesButtonTest, AStateWithoutAnImageShowsNothing) {
    AuroraXStatesButton button;
    const auto image = std::make_shared<const platform::ui::Image>();
    button.setButtonImage(image, AuroraButtonState::hover);
    EXPECT_EQ(button.buttonImage(AuroraButtonState::hover), image);
    EXPECT_EQ(button.buttonImage(AuroraButtonState::pressed), nullptr);
    EXPECT_EQ(button.imagePosition(), AuroraImagePosition::imageOverlaps);
}

}  // namespace
