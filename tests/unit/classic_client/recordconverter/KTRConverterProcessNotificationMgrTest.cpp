/// Which bubble the manager shows for what, how it looks and where it stands.

#include "unit/classic_client/recordconverter/KTRConverterProcessNotificationMgrTest.h"

#include "KTRMeetingRecordingBubbleButtonModel.h"

#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

using platform::ui::Color;
using platform::ui::Point;
using test::FakeAuroraBubble;
using test::info;
using test::KTRConverterProcessNotificationMgrTest;
using test::Log;

const std::string name = "-[KTRConverterProcessNotificationMgr ";
const std::string preparedLine = info(name + "showFilesPreparedBubble]");
const std::string failedLine = info(name + "showConvertFailedBubble]");

std::string savedLine(const std::string& path) {
    return info(name + "showConvertSucceedBubbleWithFilePath:] : " + path);
}

std::string textOf(const FakeAuroraBubble& bubble) {
    return viewOf(bubble).contentField()->attributedStringValue().string;
}

TEST_F(KTRConverterProcessNotificationMgrTest, BeginsWithNoBubblesAndEverythingHandled) {
    EXPECT_TRUE(manager->auroraBubblesArray().empty());
    EXPECT_EQ(manager->filesPreparedBubble(), nullptr);
    EXPECT_TRUE(manager->isAllReportJobsHandled());
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(KTRConverterProcessNotificationMgrTest, AStartedConversionShowsTheBeingPreparedBubble) {
    manager->reportProcessStart();
    EXPECT_EQ(trace.log(), Log{preparedLine});
    ASSERT_EQ(fake.bubbleMaker.bubbles().size(), 1U);
    EXPECT_EQ(manager->filesPreparedBubble().get(), &bubble(0));
    EXPECT_TRUE(manager->auroraBubblesArray().empty()) << "it is never in the list";
    EXPECT_EQ(textOf(bubble(0)), "Your recording is being prepared. This may take a while.");
    EXPECT_EQ(viewOf(bubble(0)).iconImageView()->image(), fake.images.imageNamed("corvo_logo"));
    EXPECT_TRUE(viewOf(bubble(0)).buttonsArray().empty());
    EXPECT_EQ(viewOf(bubble(0)).delegate(), manager);
}

TEST_F(KTRConverterProcessNotificationMgrTest, APathShowsTheSavedBubbleWithItsTwoButtons) {
    manager->reportProcessDoneWithFilePath("/rec/one.mp4");
    EXPECT_EQ(trace.log(), Log{savedLine("/rec/one.mp4")});
    ASSERT_EQ(manager->auroraBubblesArray().size(), 1U);
    EXPECT_EQ(manager->auroraBubblesArray()[0].get(), &bubble(0));
    EXPECT_EQ(manager->filesPreparedBubble(), nullptr);
    EXPECT_EQ(textOf(bubble(0)), "Your recording has been saved to your computer.");
    auto& view = viewOf(bubble(0));
    EXPECT_EQ(view.iconImageView()->image(), fake.images.imageNamed("icn_check"));
    ASSERT_EQ(view.buttonsArray().size(), 2U);
    EXPECT_EQ(view.buttonsArray()[0]->title(), "Open");
    EXPECT_EQ(view.buttonsArray()[1]->title(), "View in Folder");
    EXPECT_GT(view.buttonsArray()[0]->frame().x, view.buttonsArray()[1]->frame().x) << "Open is the rightmost";
    EXPECT_EQ(view.delegate(), manager);
    EXPECT_EQ(view.toolTip(), "one.mp4") << "which of several it is";
}

TEST_F(KTRConverterProcessNotificationMgrTest, TheButtonModelsSetNoFontTypeOrSizeOfTheirOwn) {
    manager->reportProcessDoneWithFilePath("/rec/one.mp4");
    for (const auto& model : viewOf(bubble(0)).buttonModelArray()) {
        EXPECT_EQ(model->titleFont(), (platform::ui::Font{"TamsaSansTT Light", 12.0})) << "the view's default";
        EXPECT_EQ(model->buttonType(), 5) << "the view's default";
    }
}

TEST_F(KTRConverterProcessNotificationMgrTest, AnEmptyOrAbsentPathShowsTheFailedBubbleWithTheErrorIconAndNoButtons) {
    manager->reportProcessDoneWithFilePath("");
    manager->reportProcessDoneWithFilePath(std::nullopt);
    EXPECT_EQ(trace.log(), (Log{failedLine, failedLine}));
    ASSERT_EQ(manager->auroraBubblesArray().size(), 2U);
    for (const std::size_t index : {std::size_t{0}, std::size_t{1}}) {
        EXPECT_EQ(textOf(bubble(index)), "We had a problem converting the recording to MP4 format.");
        EXPECT_EQ(viewOf(bubble(index)).iconImageView()->image(), fake.images.imageNamed("icn_error"));
        EXPECT_TRUE(viewOf(bubble(index)).buttonsArray().empty());
        EXPECT_EQ(viewOf(bubble(index)).delegate(), manager);
    }
}

TEST_F(KTRConverterProcessNotificationMgrTest, TheDiagnosticBubblesShowTheirPathUntranslatedWithoutIconButtonsOrLine) {
    manager->showFilesPreparedBubble();
    trace.clear();
    manager->showReceivedJobBubbleWithFilePath("/a 100%@");
    manager->showStashedJobBubbleWithFilePath("/b");
    EXPECT_TRUE(trace.log().empty());
    EXPECT_EQ(textOf(bubble(1)), "**** received job ****\nFilePath = /a 100%@");
    EXPECT_EQ(textOf(bubble(2)), "**** stashed job ****\nFilePath = /b");
    for (const std::size_t index : {std::size_t{1}, std::size_t{2}}) {
        EXPECT_EQ(viewOf(bubble(index)).iconImageView()->image(), nullptr);
        EXPECT_TRUE(viewOf(bubble(index)).buttonsArray().empty());
    }
    EXPECT_EQ(manager->auroraBubblesArray().size(), 2U);
    EXPECT_EQ(manager->filesPreparedBubble().get(), &bubble(0)) << "left alone";
    EXPECT_EQ(bubble(0).closeCount(), 0);
    for (const auto& lookup : fake.texts.lookups()) {
        EXPECT_EQ(lookup.key.find("****"), std::string::npos);
    }
}

TEST_F(KTRConverterProcessNotificationMgrTest, TextsAreLookedUpUnderTheirEnglishText) {
    fake.texts.setText("Your recording is being prepared. This may take a while.", "Localizable", "prepared!");
    fake.texts.setText("Your recording has been saved to your computer.", "Localizable", "saved!");
    fake.texts.setText("We had a problem converting the recording to MP4 format.", "Localizable", "failed!");
    fake.texts.setText("Open", "Localizable", "open!");
    fake.texts.setText("View in Folder", "Localizable", "folder!");
    manager->showFilesPreparedBubble();
    manager->showConvertSucceedBubbleWithFilePath("/a.mp4");
    manager->showConvertFailedBubble();
    EXPECT_EQ(textOf(bubble(0)), "prepared!");
    EXPECT_EQ(textOf(bubble(1)), "saved!");
    EXPECT_EQ(textOf(bubble(2)), "failed!");
    EXPECT_EQ(viewOf(bubble(1)).buttonsArray()[0]->title(), "open!");
    EXPECT_EQ(viewOf(bubble(1)).buttonsArray()[1]->title(), "folder!");
}

TEST_F(KTRConverterProcessNotificationMgrTest, EveryBubbleHasTheSameLookFromAFreshDescription) {
    manager->showFilesPreparedBubble();
    manager->showConvertSucceedBubbleWithFilePath("/a.mp4");
    manager->showConvertFailedBubble();
    manager->showReceivedJobBubbleWithFilePath("/a");
    manager->showStashedJobBubbleWithFilePath("/a");
    ASSERT_EQ(fake.bubbleMaker.bubbles().size(), 5U);
    for (const auto& each : fake.bubbleMaker.bubbles()) {
        const auto& look = *each->description();
        EXPECT_TRUE(look.bHasArrow());
        ASSERT_NE(look.arrowDescription(), nullptr);
        EXPECT_EQ(*look.arrowDescription(), (AuroraArrowRecord{6, 20.0, 10.0, 40.0, 40.0}));
        EXPECT_TRUE(look.bFade());
        ASSERT_NE(look.fadeDescription(), nullptr);
        EXPECT_EQ(*look.fadeDescription(), (AuroraFadeRecord{0.1, 15.0, 0.1}));
        EXPECT_EQ(look.bgColor(), (Color{0, 0, 0, 1.0}));
        EXPECT_EQ(look.fCornerRadius(), 4.0);
        EXPECT_EQ(look.borderColor(), Color::clearColor());
        EXPECT_EQ(look.borderColor().alpha, 0);
        EXPECT_FALSE(look.bClosable());
        EXPECT_FALSE(look.bInfoImage());
        for (const auto& other : fake.bubbleMaker.bubbles()) {
            EXPECT_EQ(each->description() == other->description(), each == other) << "a description is shared";
        }
    }
}

TEST_F(KTRConverterProcessNotificationMgrTest, BubblesHangBelowTheMiddleOfTheStatusIconsLowerEdge) {
    manager->showFilesPreparedBubble();
    manager->showConvertFailedBubble();
    for (const auto& each : fake.bubbleMaker.bubbles()) {
        ASSERT_EQ(each->showings().size(), 1U);
        EXPECT_EQ(each->showings()[0].point, (Point{10, 0}));
        EXPECT_EQ(each->showings()[0].anchor, anchor);
        EXPECT_EQ(each->showings()[0].option, 1);
    }
}

TEST_F(KTRConverterProcessNotificationMgrTest, TheMiddleIsHalfTheAnchorsWidthFractionIncluded) {
    anchor->setFrame({100, 50, 25, 20});
    manager->showConvertFailedBubble();
    EXPECT_EQ(bubble(0).showings().at(0).point, (Point{12.5, 0}));
}

TEST_F(KTRConverterProcessNotificationMgrTest, WithoutAnAnchorViewABubbleIsShownAtZeroBoundToNone) {
    applicationDelegate->item->setView(nullptr);
    manager->showConvertFailedBubble();
    applicationDelegate->item = nullptr;
    manager->showConvertFailedBubble();
    fake.application.setDelegate(nullptr);
    manager->showConvertFailedBubble();
    for (const auto& each : fake.bubbleMaker.bubbles()) {
        EXPECT_EQ(each->showings().at(0).point, (Point{0, 0}));
        EXPECT_EQ(each->showings().at(0).anchor, nullptr);
    }
}

/// A bubble that closes while it is being shown must find itself in the list.
TEST_F(KTRConverterProcessNotificationMgrTest, ABubbleIsKeptBeforeItIsShown) {
    std::vector<bool> wasKept;
    fake.bubbleMaker.setOnMake([&](test::FakeAuroraBubble& made) {
        made.setOnShow([&] {
            const auto& kept = manager->auroraBubblesArray();
            wasKept.push_back(
                manager->filesPreparedBubble().get() == &made ||
                std::any_of(kept.begin(), kept.end(), [&](const auto& open) { return open.get() == &made; }));
        });
    });
    manager->reportProcessStart();
    manager->reportProcessDoneWithFilePath("/talk.mp4");
    manager->reportProcessDoneWithFilePath(std::nullopt);
    EXPECT_EQ(wasKept, std::vector<bool>(3, true));
}

TEST_F(KTRConverterProcessNotificationMgrTest, TheViewIsLaidOutOnceBeforeTheBubbleIsMade) {
    manager->showConvertSucceedBubbleWithFilePath("/a.mp4");
    EXPECT_EQ(viewOf(bubble(0)).subviews().size(), 5U);
    EXPECT_GE(viewOf(bubble(0)).frame().width, 255);
}

TEST_F(KTRConverterProcessNotificationMgrTest, AMissingImageGivesNoIcon) {
    fake.images.setMissing("icn_error");
    manager->showConvertFailedBubble();
    EXPECT_EQ(viewOf(bubble(0)).iconImageView()->image(), nullptr);
}

TEST_F(KTRConverterProcessNotificationMgrTest, FieldsCanBeSet) {
    manager->showFilesPreparedBubble();
    const auto held = manager->filesPreparedBubble();
    manager->setFilesPreparedBubble(nullptr);
    EXPECT_EQ(manager->filesPreparedBubble(), nullptr);
    manager->setFilesPreparedBubble(held);
    EXPECT_EQ(manager->filesPreparedBubble(), held);
}

}  // namespace
