#include "KTRConverterProcessNotificationMgr.h"

#include "KTRMeetingRecordingBubbleButtonModel.h"
#include "platform/FileURL.h"
#include "platform/NotificationCenter.h"
#include "support/FakePlatform.h"
#include "support/RecordingTrace.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using platform::FileURL;
using platform::ui::Color;
using platform::ui::Point;
using test::FakeAuroraBubble;
using test::info;
using test::Log;
using View = KTRMeetingRecordingSavedBubbleView;

const std::string name = "-[KTRConverterProcessNotificationMgr ";
const std::string preparedLine = info(name + "showFilesPreparedBubble]");
const std::string failedLine = info(name + "showConvertFailedBubble]");
const std::string closedByUserLine =
    info(name + "meetingRecordingSavedBubbleViewRequestToClose:], bubble closed by user");
const std::string removedLine = info(name + "closeBubbleWithNotification:], remove bubble from bubbleArray");

std::string savedLine(const std::string& path) {
    return info(name + "showConvertSucceedBubbleWithFilePath:] : " + path);
}

/// The application's delegate as the manager sees it.
class ApplicationDelegate final : public platform::ApplicationDelegate {
public:
    std::shared_ptr<platform::StatusItem> statusItem() const override { return item; }

    std::shared_ptr<test::FakeStatusItem> item;
};

class KTRConverterProcessNotificationMgrTest : public testing::Test {
protected:
    KTRConverterProcessNotificationMgrTest() {
        applicationDelegate->item = std::make_shared<test::FakeStatusItem>(-1);
        applicationDelegate->item->setView(anchor);
        fake.application.setDelegate(applicationDelegate);
    }

    const FakeAuroraBubble& bubble(std::size_t index) const { return *fake.bubbleMaker.bubbles().at(index); }

    static View& viewOf(const FakeAuroraBubble& bubble) { return dynamic_cast<View&>(*bubble.clientView()); }

    static std::string textOf(const FakeAuroraBubble& bubble) {
        return viewOf(bubble).contentField()->attributedStringValue().string;
    }

    std::shared_ptr<const platform::ui::Image> image(const std::string& imageName) const {
        return fake.images.imageNamed(imageName);
    }

    static void press(const FakeAuroraBubble& bubble, std::size_t button) {
        viewOf(bubble).buttonsArray().at(button)->sendAction();
    }

    test::RecordingTrace trace;
    test::FakePlatform fake;
    std::shared_ptr<platform::ui::View> anchor = std::make_shared<platform::ui::View>(platform::ui::Rect{0, 0, 20, 20});
    std::shared_ptr<ApplicationDelegate> applicationDelegate = std::make_shared<ApplicationDelegate>();
    std::shared_ptr<KTRConverterProcessNotificationMgr> manager = std::make_shared<KTRConverterProcessNotificationMgr>(
        fake.application, fake.notificationCenter, fake.workspace, fake.bubbleMaker);
};

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
    EXPECT_EQ(viewOf(bubble(0)).iconImageView()->image(), image("corvo_logo"));
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
    EXPECT_EQ(view.iconImageView()->image(), image("icn_check"));
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
        EXPECT_EQ(viewOf(bubble(index)).iconImageView()->image(), image("icn_error"));
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

TEST_F(KTRConverterProcessNotificationMgrTest, AResultBubbleClosesTheBeingPreparedOneFirst) {
    for (const bool saved : {true, false}) {
        manager->reportProcessStart();
        const auto prepared = fake.bubbleMaker.bubbles().back();
        manager->reportProcessDoneWithFilePath(saved ? std::optional<std::string>("/a.mp4") : std::nullopt);
        EXPECT_EQ(prepared->closeCount(), 1);
        EXPECT_EQ(manager->filesPreparedBubble(), nullptr);
    }
}

TEST_F(KTRConverterProcessNotificationMgrTest, ClosingTheBeingPreparedBubbleWhenNoneIsOpenDoesNothing) {
    manager->closeFilesPreparedBubble();
    EXPECT_EQ(manager->filesPreparedBubble(), nullptr);
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(KTRConverterProcessNotificationMgrTest, TwoBeingPreparedBubblesInARowTheSecondTakesTheSlotAndTheFirstStays) {
    manager->showFilesPreparedBubble();
    manager->showFilesPreparedBubble();
    EXPECT_EQ(manager->filesPreparedBubble().get(), &bubble(1));
    EXPECT_EQ(bubble(0).closeCount(), 0);
    manager->closeFilesPreparedBubble();
    EXPECT_EQ(bubble(0).closeCount(), 0) << "no longer held";
    EXPECT_EQ(bubble(1).closeCount(), 1);
}

TEST_F(KTRConverterProcessNotificationMgrTest, AnOpenBeingPreparedBubbleHoldsNothingBack) {
    manager->showFilesPreparedBubble();
    EXPECT_TRUE(manager->isAllReportJobsHandled());
    manager->showConvertFailedBubble();
    EXPECT_FALSE(manager->isAllReportJobsHandled());
}

TEST_F(KTRConverterProcessNotificationMgrTest, TwoSavedBubblesAreListedInOrderAndOpenOnTheFirstTakesOutTheFirstAlone) {
    manager->reportProcessDoneWithFilePath("/rec/one.mp4");
    manager->reportProcessDoneWithFilePath("/rec/two.mp4");
    ASSERT_EQ(manager->auroraBubblesArray().size(), 2U);
    EXPECT_EQ(manager->auroraBubblesArray()[0].get(), &bubble(0));
    EXPECT_EQ(manager->auroraBubblesArray()[1].get(), &bubble(1));
    trace.clear();

    press(bubble(0), 0);
    EXPECT_EQ(fake.workspace.opened(), std::vector<FileURL>{FileURL::fileURLWithPath("/rec/one.mp4", false)});
    EXPECT_EQ(bubble(0).closeCount(), 1);
    EXPECT_EQ(bubble(1).closeCount(), 0);
    EXPECT_EQ(manager->auroraBubblesArray().size(), 2U) << "it leaves only once its window closes";
    EXPECT_EQ(trace.log(), Log{closedByUserLine});

    EXPECT_EQ(fake.bubbleMaker.finishClosing(), 1U);
    ASSERT_EQ(manager->auroraBubblesArray().size(), 1U);
    EXPECT_EQ(manager->auroraBubblesArray()[0].get(), &bubble(1));
    EXPECT_EQ(trace.log(), (Log{closedByUserLine, removedLine}));
    EXPECT_FALSE(manager->isAllReportJobsHandled());
}

TEST_F(KTRConverterProcessNotificationMgrTest, ViewInFolderOpensTheFolderItselfThenAsksTheBubbleToClose) {
    manager->reportProcessDoneWithFilePath("/home/u/Movies/rec.mp4");
    trace.clear();
    fake.workspace.setOnOpen([this](const FileURL&) { EXPECT_EQ(bubble(0).closeCount(), 0) << "open, then close"; });
    press(bubble(0), 1);
    EXPECT_EQ(fake.workspace.opened(), std::vector<FileURL>{FileURL::fileURLWithPath("/home/u/Movies", true)});
    EXPECT_EQ(bubble(0).closeCount(), 1);
    EXPECT_EQ(trace.log(), Log{closedByUserLine});
}

TEST_F(KTRConverterProcessNotificationMgrTest, TheWorkspacesAnswerIsNotLookedAt) {
    fake.workspace.setAnswer(false);
    manager->reportProcessDoneWithFilePath("/a.mp4");
    press(bubble(0), 0);
    press(bubble(0), 1);
    EXPECT_EQ(bubble(0).closeCount(), 2);
}

TEST_F(KTRConverterProcessNotificationMgrTest, AnAbsentPathOpensNothingAndLeavesTheBubbleWithoutALine) {
    manager->reportProcessDoneWithFilePath("/a.mp4");
    trace.clear();
    manager->openFileByDefaultWithFilePathIn(std::nullopt, viewOf(bubble(0)));
    manager->openDirectoryByDefaultWithFilePathIn(std::nullopt, viewOf(bubble(0)));
    EXPECT_TRUE(fake.workspace.opened().empty());
    EXPECT_EQ(bubble(0).closeCount(), 0);
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(KTRConverterProcessNotificationMgrTest, AResultBubblesCloseButtonClosesIt) {
    manager->reportProcessDoneWithFilePath(std::nullopt);
    trace.clear();
    viewOf(bubble(0)).closeButton()->sendAction();
    EXPECT_EQ(bubble(0).closeCount(), 1);
    EXPECT_EQ(trace.log(), Log{closedByUserLine});
}

TEST_F(KTRConverterProcessNotificationMgrTest, TheBeingPreparedBubblesCloseButtonWritesItsLineAndNothingElseHappens) {
    manager->showFilesPreparedBubble();
    trace.clear();
    viewOf(bubble(0)).closeButton()->sendAction();
    EXPECT_EQ(trace.log(), Log{closedByUserLine});
    EXPECT_EQ(bubble(0).closeCount(), 0);
    EXPECT_EQ(manager->filesPreparedBubble().get(), &bubble(0));
}

TEST_F(KTRConverterProcessNotificationMgrTest, EveryListedBubbleOfTheViewIsClosed) {
    const auto view = std::make_shared<View>();
    manager->showConvertBubbleWithExternalClientViewIsFilesPreparedBubble(view, false);
    manager->showConvertFailedBubble();
    manager->showConvertBubbleWithExternalClientViewIsFilesPreparedBubble(view, false);
    manager->meetingRecordingSavedBubbleViewRequestToClose(*view);
    EXPECT_EQ(bubble(0).closeCount(), 1);
    EXPECT_EQ(bubble(1).closeCount(), 0);
    EXPECT_EQ(bubble(2).closeCount(), 1);
}

TEST_F(KTRConverterProcessNotificationMgrTest, AnotherWindowClosingTracesNothingAndLeavesTheList) {
    manager->showConvertFailedBubble();
    manager->showFilesPreparedBubble();
    trace.clear();
    const int otherWindow = 0;
    fake.notificationCenter.post({platform::WindowWillCloseNotification, &otherWindow});
    fake.bubbleMaker.postWillClose(bubble(1));
    EXPECT_TRUE(trace.log().empty());
    EXPECT_EQ(manager->auroraBubblesArray().size(), 1U);
}

TEST_F(KTRConverterProcessNotificationMgrTest, OnlyTheFirstEntryOfAClosingBubbleLeavesTheList) {
    manager->showConvertFailedBubble();
    const auto listed = manager->auroraBubblesArray()[0];
    manager->setAuroraBubblesArray({listed, listed});
    trace.clear();
    fake.bubbleMaker.postWillClose(bubble(0));
    EXPECT_EQ(manager->auroraBubblesArray().size(), 1U);
    EXPECT_EQ(trace.log(), Log{removedLine});
}

TEST_F(KTRConverterProcessNotificationMgrTest, ABubbleThatFadedOutByItselfLeavesTheListToo) {
    manager->showConvertFailedBubble();
    fake.bubbleMaker.postWillClose(bubble(0));
    EXPECT_TRUE(manager->isAllReportJobsHandled());
}

TEST_F(KTRConverterProcessNotificationMgrTest, AKitThatAnnouncesTheClosingAtOnceDoesNotDisturbTheWalk) {
    class HastyBubble final : public CAuroraBubble {
    public:
        HastyBubble(platform::NotificationCenter& center, std::shared_ptr<platform::ui::View> view)
            : center_(center), view_(std::move(view)) {}
        void showAtAndBindInViewOption(const Point&, const std::shared_ptr<platform::ui::View>&, int) override {}
        std::shared_ptr<platform::ui::View> clientView() const override { return view_; }
        void close() override {
            center_.post({platform::WindowWillCloseNotification, static_cast<const CAuroraBubble*>(this)});
        }

    private:
        platform::NotificationCenter& center_;
        std::shared_ptr<platform::ui::View> view_;
    };
    const auto view = std::make_shared<View>();
    manager->setAuroraBubblesArray({std::make_shared<HastyBubble>(fake.notificationCenter, view),
                                    std::make_shared<HastyBubble>(fake.notificationCenter, view)});
    manager->meetingRecordingSavedBubbleViewRequestToClose(*view);
    EXPECT_TRUE(manager->auroraBubblesArray().empty());
}

TEST_F(KTRConverterProcessNotificationMgrTest, ASavedBubblesButtonPressedAfterTheManagerHasGoneDoesNothing) {
    manager->reportProcessDoneWithFilePath("/a.mp4");
    const std::weak_ptr<KTRConverterProcessNotificationMgr> watched = manager;
    manager = nullptr;
    ASSERT_TRUE(watched.expired()) << "the button callbacks must not hold the manager";
    trace.clear();
    press(bubble(0), 0);
    press(bubble(0), 1);
    viewOf(bubble(0)).closeButton()->sendAction();
    EXPECT_TRUE(fake.workspace.opened().empty());
    EXPECT_EQ(bubble(0).closeCount(), 0);
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(KTRConverterProcessNotificationMgrTest, HearsOfNoWindowAfterItsEnd) {
    manager->showConvertFailedBubble();
    manager = nullptr;
    trace.clear();
    fake.bubbleMaker.postWillClose(bubble(0));
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(KTRConverterProcessNotificationMgrTest, AViewGoesWithItsBubble) {
    // The view owns the buttons' callbacks: a strong reference back to it would keep both alive forever.
    std::weak_ptr<platform::ui::View> watched;
    {
        test::FakeAuroraBubbleMaker maker(fake.notificationCenter);
        const auto another = std::make_shared<KTRConverterProcessNotificationMgr>(
            fake.application, fake.notificationCenter, fake.workspace, maker);
        another->showConvertSucceedBubbleWithFilePath("/a.mp4");
        watched = maker.bubbles().at(0)->clientView();
    }
    EXPECT_TRUE(watched.expired());
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
