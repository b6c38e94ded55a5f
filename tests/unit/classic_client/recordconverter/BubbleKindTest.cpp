/// What each bubble reports, for desktops that show it in their own way.

#include "KTRConverterProcessNotificationMgr.h"
#include "support/FakePlatform.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

class BubbleKindTest : public testing::Test {
protected:
    AuroraBubbleKind kindOfNewest() const { return fake.bubbleMaker.bubbles().back()->description()->kind(); }

    test::FakePlatform fake;
    std::shared_ptr<KTRConverterProcessNotificationMgr> manager = std::make_shared<KTRConverterProcessNotificationMgr>(
        fake.application, fake.notificationCenter, fake.workspace, fake.bubbleMaker);
};

TEST_F(BubbleKindTest, ASavedRecordingIsASuccess) {
    manager->reportProcessDoneWithFilePath("/rec/talk.mp4");
    EXPECT_EQ(kindOfNewest(), AuroraBubbleKind::success);
}

TEST_F(BubbleKindTest, AFailedConversionIsAFailure) {
    manager->reportProcessDoneWithFilePath({});
    EXPECT_EQ(kindOfNewest(), AuroraBubbleKind::failure);
}

TEST_F(BubbleKindTest, APreparedRecordingIsNews) {
    manager->reportProcessStart();
    EXPECT_EQ(kindOfNewest(), AuroraBubbleKind::news);
}

}  // namespace
