#include "KTRMeetingRecordingBubbleButtonModel.h"

#include <gtest/gtest.h>
#include <optional>

namespace {

using platform::ui::Size;

TEST(KTRMeetingRecordingBubbleButtonModelTest, BeginsWithNothingChosen) {
    const KTRMeetingRecordingBubbleButtonModel fresh;
    EXPECT_EQ(fresh.buttonType(), 0);
    EXPECT_EQ(fresh.buttonTitle(), std::nullopt);
    EXPECT_EQ(fresh.titleFont(), std::nullopt);
    EXPECT_FALSE(fresh.function());
    EXPECT_EQ(fresh.buttonSize(), (Size{0, 0}));
}

}  // namespace
