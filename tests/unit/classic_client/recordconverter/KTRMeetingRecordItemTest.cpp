#include "KTRMeetingRecordItem.h"

#include "support/FakeFileManager.h"

#include <gtest/gtest.h>
#include <string>

namespace {

class KTRMeetingRecordItemTest : public testing::Test {
protected:
    std::string destinationOf(const std::string& source) const {
        return KTRMeetingRecordItem(4711, source, fileManager).dstPath();
    }

    test::FakeFileManager fileManager;
};

TEST_F(KTRMeetingRecordItemTest, KeepsTheProcessIdAndTheSourceAsGiven) {
    const KTRMeetingRecordItem item(-7, "no/such//file.tmp/", fileManager);
    EXPECT_EQ(item.pid(), -7);
    EXPECT_EQ(item.srcPath(), "no/such//file.tmp/");
}

TEST_F(KTRMeetingRecordItemTest, AFreeNameBesideTheSourceIsTheDestination) {
    EXPECT_EQ(destinationOf("/a/b/rec.tmp"), "/a/b/rec.mp4");
}

TEST_F(KTRMeetingRecordItemTest, AnInnerMp4IsRemovedAndNotDoubled) {
    EXPECT_EQ(destinationOf("/a/b/rec.mp4.tmp"), "/a/b/rec.mp4");
    EXPECT_EQ(destinationOf("/a/talk.mp4.tmp"), "/a/talk.mp4");
}

TEST_F(KTRMeetingRecordItemTest, OnlyOneInnerMp4IsRemoved) {
    EXPECT_EQ(destinationOf("/a/talk.mp4.mp4.tmp"), "/a/talk.mp4.mp4");
}

TEST_F(KTRMeetingRecordItemTest, OnlyExactlyMp4IsRemovedAsAnInnerExtension) {
    EXPECT_EQ(destinationOf("/a/talk.MP4.tmp"), "/a/talk.MP4.mp4");
    EXPECT_EQ(destinationOf("/a/talk.mov.tmp"), "/a/talk.mov.mp4");
    EXPECT_EQ(destinationOf("/a/talk.mp44.tmp"), "/a/talk.mp44.mp4");
    EXPECT_EQ(destinationOf("/a/talkmp4.tmp"), "/a/talkmp4.mp4");
}

TEST_F(KTRMeetingRecordItemTest, TakenNamesAreCountedUpWithoutABlank) {
    fileManager.addFile("/a/b/rec.mp4");
    EXPECT_EQ(destinationOf("/a/b/rec.tmp"), "/a/b/rec(1).mp4");
    fileManager.addFile("/a/b/rec(1).mp4");
    EXPECT_EQ(destinationOf("/a/b/rec.tmp"), "/a/b/rec(2).mp4");
}

TEST_F(KTRMeetingRecordItemTest, TheFirstFreeNumberIsTakenEvenBelowTakenOnes) {
    fileManager.addFile("/a/rec.mp4");
    fileManager.addFile("/a/rec(2).mp4");
    EXPECT_EQ(destinationOf("/a/rec.tmp"), "/a/rec(1).mp4");
}

TEST_F(KTRMeetingRecordItemTest, CountingHasNoUpperBound) {
    fileManager.addFile("/a/rec.mp4");
    for (int i = 1; i <= 1500; ++i) {
        fileManager.addFile("/a/rec(" + std::to_string(i) + ").mp4");
    }
    EXPECT_EQ(destinationOf("/a/rec.tmp"), "/a/rec(1501).mp4");
}

TEST_F(KTRMeetingRecordItemTest, AFolderCountsAsTaken) {
    fileManager.addFolder("/a/b/rec.mp4");
    EXPECT_EQ(destinationOf("/a/b/rec.tmp"), "/a/b/rec(1).mp4");
}

TEST_F(KTRMeetingRecordItemTest, ASourceWithoutExtensionIsKeptWhole) {
    EXPECT_EQ(destinationOf("/a/b/rec"), "/a/b/rec.mp4");
}

TEST_F(KTRMeetingRecordItemTest, AnMp4SourceOccupiesTheFirstCandidateItself) {
    fileManager.addFile("/a/b/rec.mp4");
    EXPECT_EQ(destinationOf("/a/b/rec.mp4"), "/a/b/rec(1).mp4");
}

TEST_F(KTRMeetingRecordItemTest, ADotInAFolderNameIsNoExtension) {
    EXPECT_EQ(destinationOf("/a.b/rec"), "/a.b/rec.mp4");
    EXPECT_EQ(destinationOf("/a.mp4/rec.tmp"), "/a.mp4/rec.mp4");
}

TEST_F(KTRMeetingRecordItemTest, OnlyTheLastExtensionGoes) {
    EXPECT_EQ(destinationOf("/a/b.c.d"), "/a/b.c.mp4");
}

TEST_F(KTRMeetingRecordItemTest, ABareFileNameGivesADestinationThatBeginsWithASlash) {
    EXPECT_EQ(destinationOf("rec.tmp"), "/rec.mp4");
}

TEST_F(KTRMeetingRecordItemTest, NothingIsReservedSoTwoItemsOfOneNameShareIt) {
    const KTRMeetingRecordItem first(1, "/a/rec.tmp", fileManager);
    const KTRMeetingRecordItem second(1, "/a/rec.bak", fileManager);
    EXPECT_EQ(first.dstPath(), "/a/rec.mp4");
    EXPECT_EQ(second.dstPath(), "/a/rec.mp4");
}

TEST_F(KTRMeetingRecordItemTest, TheDestinationIsChosenWhenTheItemIsMade) {
    const KTRMeetingRecordItem item(1, "/a/rec.tmp", fileManager);
    fileManager.addFile("/a/rec.mp4");
    EXPECT_EQ(item.dstPath(), "/a/rec.mp4");
}

TEST_F(KTRMeetingRecordItemTest, TheDestinationCanBeSetAndComputedAgain) {
    KTRMeetingRecordItem item(1, "/a/rec.tmp", fileManager);
    item.setDstPath("/elsewhere.mp4");
    EXPECT_EQ(item.dstPath(), "/elsewhere.mp4");
    item.createDstPath();
    EXPECT_EQ(item.dstPath(), "/a/rec.mp4");
}

TEST_F(KTRMeetingRecordItemTest, NamesAreBytesAndNeedNotBeUtf8) {
    EXPECT_EQ(destinationOf("/a/\xFF\xFE talk\n.tmp"), "/a/\xFF\xFE talk\n.mp4");
    EXPECT_EQ(destinationOf("/a/100%@.tmp"), "/a/100%@.mp4");
}

}  // namespace
