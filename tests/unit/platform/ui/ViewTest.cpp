#include "platform/ui/View.h"

#include "platform/ui/Control.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/TextField.h"

#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

using platform::ui::Rect;
using platform::ui::View;

TEST(ViewTest, BeginsWithAnEmptyFrameOrTheOneGiven) {
    EXPECT_EQ(View().frame(), (Rect{0, 0, 0, 0}));
    EXPECT_EQ(View(Rect{1, 2, 3, 4}).frame(), (Rect{1, 2, 3, 4}));
}

TEST(ViewTest, SettingTheSizeKeepsTheOrigin) {
    View view(Rect{1, 2, 3, 4});
    view.setFrameSize({30, 40});
    EXPECT_EQ(view.frame(), (Rect{1, 2, 30, 40}));
}

TEST(ViewTest, SubviewsLieBackToFront) {
    View view;
    const auto back = std::make_shared<View>();
    const auto front = std::make_shared<View>();
    view.addSubview(back);
    view.addSubview(front);
    EXPECT_EQ(view.subviews(), (std::vector<std::shared_ptr<View>>{back, front}));
}

TEST(ControlTest, APressRunsTheAction) {
    int pressed = 0;
    platform::ui::Control control;
    control.sendAction();
    control.setAction([&pressed] { ++pressed; });
    control.sendAction();
    EXPECT_EQ(pressed, 1);
    EXPECT_TRUE(control.isEnabled());
    control.setEnabled(false);
    EXPECT_FALSE(control.isEnabled());
}

TEST(TextFieldTest, ShowsATextAndBeginsLikeAnEditableField) {
    platform::ui::TextField field;
    EXPECT_TRUE(field.drawsBackground());
    EXPECT_TRUE(field.isBordered());
    EXPECT_TRUE(field.isSelectable());
    EXPECT_TRUE(field.isEditable());
    EXPECT_TRUE(field.isEnabled());
    field.setAttributedStringValue({"text", {"F", 3}, platform::ui::Color::whiteColor()});
    EXPECT_EQ(field.attributedStringValue().string, "text");
}

TEST(ImageViewTest, ShowsNothingUntilAnImageIsSet) {
    platform::ui::ImageView view(Rect{0, 0, 20, 20});
    EXPECT_EQ(view.image(), nullptr);
    EXPECT_EQ(view.imageScaling(), platform::ui::ImageScaling::none);
}

}  // namespace
