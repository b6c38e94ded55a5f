#include "recordkeeping/ProgressWatch.h"

#include "recordkeeping/PendingRecordings.h"
#include "support/FakeBackgroundExecutor.h"
#include "support/FakeDispatchQueue.h"
#include "support/FakeProcessIdentities.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using recordkeeping::describedProgress;
using recordkeeping::WorkProgress;

class ProgressWatchTest : public testing::Test {
protected:
    ProgressWatchTest() {
        processes.start(7);
        processes.start(100);
    }

    /// What is shown once the main queue has run its tasks.
    std::vector<WorkProgress> shownNow() {
        mainQueue.drain();
        return std::exchange(shown, {});
    }

    void makeDue(const std::string& source) {
        pending.announce({source, 7, 1, false});
        pending.noteDue(7);
    }

    const test::TemporaryFolder temporary;
    const std::string home = temporary.path();
    test::FakeDispatchQueue mainQueue;
    test::FakeBackgroundExecutor executor;
    test::FakeProcessIdentities processes;
    recordkeeping::PendingFolder folder{home + "/pending", executor, mainQueue};
    recordkeeping::PendingRecordings pending{folder, processes, 100};
    std::vector<WorkProgress> shown;
    recordkeeping::ProgressWatch watch{mainQueue, pending,
                                       [this](const WorkProgress& progress) { shown.push_back(progress); }};
};

using Shown = std::vector<WorkProgress>;

TEST_F(ProgressWatchTest, EachRecordingIsShownByItsNameAndKnowsItsPath) {
    const auto recordings = recordkeeping::shownRecordings({"/one/a.mkv", 45, {"/two/b.mkv"}});
    ASSERT_EQ(recordings.size(), 2U);
    EXPECT_EQ(recordings[0].path, "/one/a.mkv");
    EXPECT_EQ(recordings[0].text, "a.mkv: 45%");
    EXPECT_EQ(recordings[1].path, "/two/b.mkv");
    EXPECT_EQ(recordings[1].text, "b.mkv");
    EXPECT_TRUE(recordkeeping::shownRecordings({"", 0, {"/two/b.mkv"}}).empty());
}

TEST_F(ProgressWatchTest, NothingIsShownWhereNothingChanges) {
    watch.look();
    EXPECT_EQ(shownNow(), Shown{});
    watch.noteStarting("/talk.mkv");
    watch.noteProgress(12.2);
    EXPECT_EQ(shownNow(), (Shown{{"/talk.mkv", 12, {}}}));
    watch.noteProgress(12.9);
    watch.look();
    EXPECT_EQ(shownNow(), Shown{});
}

TEST_F(ProgressWatchTest, WithinAPercentTheMainQueueIsNotWoken) {
    watch.noteStarting("/talk.mkv");
    watch.noteProgress(12.2);
    mainQueue.drain();
    watch.noteProgress(12.9);
    EXPECT_EQ(mainQueue.pendingCount(), 0U);
}

TEST_F(ProgressWatchTest, AFastConversionIsShownAsOftenAsTheMainQueueGetsItsTurn) {
    watch.noteStarting("/talk.mkv");
    for (int percent = 1; percent <= 100; ++percent) {
        watch.noteProgress(percent);
    }
    EXPECT_EQ(mainQueue.pendingCount(), 1U);
    EXPECT_EQ(shownNow(), (Shown{{"/talk.mkv", 100, {}}}));
}

TEST_F(ProgressWatchTest, WhatIsDueWaitsUntilItIsConverted) {
    makeDue("/one.mkv");
    makeDue("/two.mkv");
    pending.announce({"/recorded.mkv", 7, 1, false});
    mainQueue.drain();
    pending.noteConverting("/one.mkv", "/one.mp4");
    watch.noteStarting("/one.mkv");
    EXPECT_EQ(shownNow(), (Shown{{"/one.mkv", 0, {"/two.mkv"}}}));
    makeDue("/three.mkv");
    watch.look();
    EXPECT_EQ(shownNow(), (Shown{{"/one.mkv", 0, {"/recorded.mkv", "/three.mkv", "/two.mkv"}}}));
}

TEST_F(ProgressWatchTest, AfterTheEndNothingIsShown) {
    watch.noteStarting("/one.mkv");
    mainQueue.drain();
    shown.clear();
    watch.noteEnded();
    watch.noteProgress(100);
    EXPECT_EQ(shownNow(), Shown{WorkProgress{}});
}

TEST(DescribedProgressTest, NamesTheRecordingItsPercentageAndWhatWaits) {
    EXPECT_EQ(describedProgress({}), "");
    EXPECT_EQ(describedProgress({"/a/talk.mkv", 7, {}}), "talk.mkv: 7%");
    EXPECT_EQ(describedProgress({"/a/talk.mkv", 7, {"/b/two.mkv", "/three.mkv"}}), "talk.mkv: 7%\ntwo.mkv\nthree.mkv");
}

}  // namespace
