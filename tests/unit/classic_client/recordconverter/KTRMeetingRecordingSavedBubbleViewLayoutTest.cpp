/// Where the parts of the view lie, and how they make the bubble larger.

#include "unit/classic_client/recordconverter/KTRMeetingRecordingSavedBubbleViewTest.h"

#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace {

using platform::ui::Font;
using platform::ui::Rect;
using platform::ui::Size;
using platform::ui::View;
using test::KTRMeetingRecordingSavedBubbleViewTest;

constexpr double unbounded = 3.4028234663852886e38;

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, AFailedBubbleWithAOneLineTextHasItsGeometry) {
    view.spawnUI();
    EXPECT_EQ(view.frame(), (Rect{0, 0, 255, 45}));
    EXPECT_EQ(view.contentField()->frame(), (Rect{36, 16, 199, 16}));
    EXPECT_EQ(view.iconImageView()->frame(), (Rect{12, 13, 16, 16}));
    EXPECT_EQ(view.closeButton()->frame(), (Rect{237, 27, 12, 12}));
    EXPECT_EQ(view.bubbleWidth(), 255U);
    EXPECT_EQ(view.bubbleHeight(), 45U);
    EXPECT_TRUE(view.buttonsArray().empty());
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, ALowerTextKeepsItsHeightAndTheBubbleItsOwn) {
    measure.setSize("text", {150, 9.5});
    view.spawnUI();
    EXPECT_EQ(view.contentField()->frame(), (Rect{36, 16, 199, 9.5}));
    EXPECT_EQ(view.bubbleHeight(), 45U);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, ASavedBubbleWithOpenThenViewInFolderHasItsGeometry) {
    const auto open = model("Open");
    const auto folder = model("View in Folder");
    view.setButtonModelArray({open, folder});
    view.spawnUI();
    EXPECT_EQ(view.frame(), (Rect{0, 0, 255, 81}));
    EXPECT_EQ(view.contentField()->frame(), (Rect{36, 52, 199, 16}));
    EXPECT_EQ(view.iconImageView()->frame(), (Rect{12, 49, 16, 16}));
    EXPECT_EQ(view.closeButton()->frame(), (Rect{237, 63, 12, 12}));
    ASSERT_EQ(view.buttonsArray().size(), 2U);
    // 255 - 8 - 0 - 52.5
    EXPECT_EQ(view.buttonsArray()[0]->frame(), (Rect{194.5, 16, 52.5, 24}));
    // The running offset is 60.5 without its fraction: 255 - 8 - 60 - 101.25
    EXPECT_EQ(view.buttonsArray()[1]->frame(), (Rect{85.75, 16, 101.25, 24}));
    EXPECT_EQ(view.buttonsArray()[0]->frame().x + view.buttonsArray()[0]->frame().width, 255 - 8);
    for (const auto& [each, width] : {std::pair{open, 52.5}, std::pair{folder, 101.25}}) {
        EXPECT_EQ(each->titleFont(), buttonFont);
        EXPECT_EQ(each->buttonType(), 5);
        EXPECT_EQ(each->buttonSize(), (Size{width, 24}));
    }
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, ATextOf40PointsWithButtonsRaisesTheBubbleAndWhatHangsFromItsTop) {
    measure.setSize("text", {150, 40});
    view.setButtonModelArray({model("Open")});
    view.spawnUI();
    EXPECT_EQ(view.frame(), (Rect{0, 0, 255, 105}));
    EXPECT_EQ(view.contentField()->frame(), (Rect{36, 52, 199, 40}));
    EXPECT_EQ(view.iconImageView()->frame(), (Rect{12, 73, 16, 16}));
    EXPECT_EQ(view.closeButton()->frame(), (Rect{237, 87, 12, 12}));
    EXPECT_EQ(view.buttonsArray()[0]->frame().y, 16);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, AHigherTextRaisesTheBubbleByAWholeNumberOfPoints) {
    measure.setSize("text", {150, 33.9});
    view.spawnUI();
    EXPECT_EQ(view.bubbleHeight(), 62U) << "45 + 17.9, without the fraction";
    EXPECT_EQ(view.contentField()->frame(), (Rect{36, 16, 199, 33.9})) << "the text keeps its own";
    EXPECT_EQ(view.iconImageView()->frame().y, 62 - 32);
    EXPECT_EQ(view.closeButton()->frame().y, 62 - 18);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, WideTitlesWidenTheBubbleToTheirSumWithoutItsFraction) {
    measure.setSize("wide", {120.75, 14});
    measure.setSize("wider", {150.5, 14});
    view.setButtonModelArray({model("wide"), model("wider")});
    view.spawnUI();
    // Offset 152 after the first (8 + 144.75, truncated); 152 + 16 + 174.5 = 342.5.
    EXPECT_EQ(view.bubbleWidth(), 342U);
    EXPECT_EQ(view.frame().width, 342);
    EXPECT_EQ(view.contentField()->frame(), (Rect{36, 52, 342 - 56, 16})) << "the text widens with it";
    EXPECT_EQ(view.closeButton()->frame().x, 342 - 18);
    EXPECT_EQ(view.buttonsArray()[0]->frame(), (Rect{342 - 8 - 144.75, 16, 144.75, 24}));
    EXPECT_EQ(view.buttonsArray()[1]->frame(), (Rect{342 - 8 - 152 - 174.5, 16, 174.5, 24}));
    EXPECT_GE(view.buttonsArray()[1]->frame().x, 7.5) << "8 points less the truncated half";
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, ARowThatJustFitsDoesNotWidenTheBubble) {
    measure.setSize("fits", {255 - 16 - 24, 14});
    view.setButtonModelArray({model("fits")});
    view.spawnUI();
    EXPECT_EQ(view.bubbleWidth(), 255U);
    EXPECT_EQ(view.buttonsArray()[0]->frame().x, 8);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, TheOffsetLosesItsFractionAtEachButton) {
    measure.setSize("a", {10.9, 14});
    view.setButtonModelArray({model("a"), model("a"), model("a")});
    view.spawnUI();
    // 0, then 42 (of 42.9), then 84 (of 84.9).
    EXPECT_EQ(view.buttonsArray()[1]->frame().x, 255 - 8.0 - 42 - 34.9);
    EXPECT_EQ(view.buttonsArray()[2]->frame().x, 255 - 8.0 - 84 - 34.9);
    EXPECT_EQ(view.buttonArrayMinX(), 126U);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, AFontOfTheModelsOwnIsUsedAndMeasured) {
    const auto own = model("Open");
    own->setTitleFont(Font{"Other", 30});
    view.setButtonModelArray({own});
    view.spawnUI();
    EXPECT_EQ(own->titleFont(), (Font{"Other", 30}));
    EXPECT_EQ(view.buttonsArray()[0]->font(), (Font{"Other", 30}));
    EXPECT_EQ(measure.questions()[0], (test::FakeTextMeasure::Question{"Open", {"Other", 30}, unbounded}));
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, TitlesAreMeasuredUnboundedAndTheTextAtItsWidth) {
    view.setButtonModelArray({model("Open"), model("View in Folder")});
    view.spawnUI();
    using Question = test::FakeTextMeasure::Question;
    EXPECT_EQ(measure.questions(), (std::vector<Question>{{"Open", buttonFont, unbounded},
                                                          {"View in Folder", buttonFont, unbounded},
                                                          {"text", Font::systemFontOfSize(12), 199}}));
    static_assert(std::numeric_limits<float>::max() == static_cast<float>(unbounded));
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, AModelWithoutTitleGivesAButtonOf24PointsWithoutTitle) {
    const auto untitled = model(std::nullopt);
    view.setButtonModelArray({untitled});
    view.spawnUI();
    EXPECT_EQ(untitled->buttonSize(), (Size{24, 24}));
    EXPECT_EQ(view.buttonsArray()[0]->title(), std::nullopt);
    EXPECT_EQ(view.buttonsArray()[0]->frame(), (Rect{255 - 8 - 24, 16, 24, 24}));
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, SubviewsLieBackToFrontButtonsTextIconCloseButton) {
    view.setButtonModelArray({model("Open"), model("View in Folder")});
    view.spawnUI();
    const std::vector<std::shared_ptr<View>> expected = {view.buttonsArray()[0], view.buttonsArray()[1],
                                                         view.contentField(), view.iconImageView(), view.closeButton()};
    EXPECT_EQ(view.subviews(), expected);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, ASecondLayoutResetsTheSizeAndAddsButtonsAndKeepsThePartsFrames) {
    measure.setSize("text", {150, 40});
    view.setButtonModelArray({model("Open")});
    view.spawnUI();
    const auto text = view.contentField()->frame();
    const auto icon = view.iconImageView()->frame();
    const auto close = view.closeButton()->frame();
    view.spawnUI();
    EXPECT_EQ(view.buttonsArray().size(), 2U);
    EXPECT_EQ(view.bubbleWidth(), 255U);
    EXPECT_EQ(view.bubbleHeight(), 81U) << "without the text's growth, which its first read had added";
    EXPECT_EQ(view.contentField()->frame(), text);
    EXPECT_EQ(view.iconImageView()->frame(), icon);
    EXPECT_EQ(view.closeButton()->frame(), close);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, SettingTheSizeKeepsTheViewsOrigin) {
    view.setFrame({7, 9, 1, 1});
    view.spawnUI();
    EXPECT_EQ(view.frame(), (Rect{7, 9, 255, 45}));
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, AnAbsentTextIsLaidOutLikeAnEmptyOne) {
    measure.setSize("", {0, 0});
    view.setContentString(std::nullopt);
    view.spawnUI();
    EXPECT_EQ(view.contentField()->attributedStringValue().string, "");
    EXPECT_EQ(view.frame(), (Rect{0, 0, 255, 45}));
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, AButtonThatFitsKeepsTheWidthAndAWiderRowRaisesIt) {
    view.setBubbleWidth(255);
    view.calculateBubbleWidthWithButtonWidth(239);
    EXPECT_EQ(view.bubbleWidth(), 255U) << "239 + 16 just fits";
    EXPECT_EQ(view.buttonArrayMinX(), 247U);
    view.calculateBubbleWidthWithButtonWidth(10.9);
    EXPECT_EQ(view.bubbleWidth(), 273U) << "247 + 10.9 + 16, truncated";
    EXPECT_EQ(view.buttonArrayMinX(), 265U) << "247 + 8 + 10.9, truncated";
}

}  // namespace
