/// What closes the manager's bubbles and takes them from its list: their buttons, the kit, the end of the manager.

#include "platform/FileURL.h"
#include "platform/NotificationCenter.h"
#include "unit/classic_client/recordconverter/KTRConverterProcessNotificationMgrTest.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using platform::FileURL;
using platform::ui::Point;
using test::FakeAuroraBubble;
using test::info;
using test::KTRConverterProcessNotificationMgrTest;
using test::Log;
using View = KTRMeetingRecordingSavedBubbleView;

const std::string name = "-[KTRConverterProcessNotificationMgr ";
const std::string closedByUserLine =
    info(name + "meetingRecordingSavedBubbleViewRequestToClose:], bubble closed by user");
const std::string removedLine = info(name + "closeBubbleWithNotification:], remove bubble from bubbleArray");

void press(const FakeAuroraBubble& bubble, std::size_t button) {
    viewOf(bubble).buttonsArray().at(button)->sendAction();
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

}  // namespace
