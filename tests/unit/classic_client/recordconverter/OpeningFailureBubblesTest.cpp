#include "OpeningFailureBubbles.h"

#include "KTRConverterProcessNotificationMgrTest.h"
#include "platform/FileURL.h"
#include "platform/ui/TextField.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

using platform::FileURL;
using test::viewOf;

class OpeningFailureBubblesTest : public test::KTRConverterProcessNotificationMgrTest {
protected:
    std::string textOf(std::size_t index) const { return viewOf(bubble(index)).contentString().value_or(""); }

    const FileURL recording = FileURL::fileURLWithPath("/home/ada/talk.mp4", false);
    const std::shared_ptr<OpeningFailureBubbles> failures =
        std::make_shared<OpeningFailureBubbles>(fake.application, fake.notificationCenter, fake.bubbleMaker);
};

TEST_F(OpeningFailureBubblesTest, SaysWhatCouldNotBeOpened) {
    failures->show(recording);
    EXPECT_EQ(textOf(0), OpeningFailureBubbles::recordingFailed);
    EXPECT_EQ(viewOf(bubble(0)).toolTip(), "talk.mp4");
}

TEST_F(OpeningFailureBubblesTest, NamesTheFileWhoseFolderCouldNotBeOpened) {
    failures->show(recording.deletingLastPathComponent());
    EXPECT_EQ(textOf(0), OpeningFailureBubbles::folderFailed);
    EXPECT_EQ(viewOf(bubble(0)).toolTip(), "talk.mp4");
}

TEST_F(OpeningFailureBubblesTest, LooksLikeAFailureBelowTheStatusIcon) {
    failures->show(recording);
    EXPECT_EQ(bubble(0).description()->kind(), AuroraBubbleKind::failure);
    ASSERT_EQ(bubble(0).showings().size(), 1U);
    const auto& showing = bubble(0).showings().front();
    EXPECT_EQ(showing.anchor, anchor);
    EXPECT_EQ(showing.point, (platform::ui::Point{10, 0}));
}

TEST_F(OpeningFailureBubblesTest, IsShownWithoutAStatusIconToo) {
    applicationDelegate->item = nullptr;
    failures->show(recording);
    ASSERT_EQ(bubble(0).showings().size(), 1U);
    EXPECT_EQ(bubble(0).showings().front().anchor, nullptr);
}

TEST_F(OpeningFailureBubblesTest, AreOpenUntilTheLastHasClosed) {
    EXPECT_FALSE(failures->isAnyOpen());
    failures->show(recording);
    failures->show(recording);
    fake.bubbleMaker.postWillClose(bubble(0));
    EXPECT_TRUE(failures->isAnyOpen());
    fake.bubbleMaker.postWillClose(bubble(1));
    EXPECT_FALSE(failures->isAnyOpen());
}

TEST_F(OpeningFailureBubblesTest, TheCloseButtonClosesItsOwnBubbleOnly) {
    failures->show(recording);
    failures->show(recording);
    viewOf(bubble(1)).onClosed(nullptr);
    EXPECT_EQ(bubble(0).closeCount(), 0);
    EXPECT_EQ(bubble(1).closeCount(), 1);
}

TEST_F(OpeningFailureBubblesTest, AreNoResultBubbles) {
    failures->show(recording);
    EXPECT_TRUE(manager->isAllReportJobsHandled());
}

}  // namespace
