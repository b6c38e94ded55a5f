/// The parts of the view and what they do: text, icon, close button, buttons.

#include "unit/classic_client/recordconverter/KTRMeetingRecordingSavedBubbleViewTest.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using platform::ui::Color;
using platform::ui::Font;
using platform::ui::View;
using test::KTRMeetingRecordingSavedBubbleViewTest;

class CloseRequests final : public KTRMeetingRecordingSavedBubbleViewDelegate {
public:
    void meetingRecordingSavedBubbleViewRequestToClose(KTRMeetingRecordingSavedBubbleView& view) override {
        views.push_back(&view);
    }

    std::vector<const KTRMeetingRecordingSavedBubbleView*> views;
};

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, ButtonsShowTheirModels) {
    view.setButtonModelArray({model("Open")});
    view.spawnUI();
    const auto& button = *view.buttonsArray()[0];
    EXPECT_EQ(button.title(), "Open");
    EXPECT_EQ(button.font(), buttonFont);
    EXPECT_EQ(button.buttonType(), 5);
    EXPECT_EQ(button.alignment(), AuroraTextAlignment::center);
    EXPECT_EQ(static_cast<int>(button.alignment()), 2);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, AButtonTypeOf3StaysAndOneOf0Becomes5) {
    const auto three = model("Open");
    three->setButtonType(3);
    const auto none = model("Open");
    view.setButtonModelArray({three, none});
    view.spawnUI();
    EXPECT_EQ(three->buttonType(), 3);
    EXPECT_EQ(none->buttonType(), 5);
    EXPECT_EQ(view.buttonsArray()[0]->buttonType(), 3);
    EXPECT_EQ(view.buttonsArray()[1]->buttonType(), 5);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, TheTextIsWhiteSystem12AndOnlyShown) {
    view.spawnUI();
    const auto& field = *view.contentField();
    EXPECT_EQ(field.attributedStringValue().string, "text");
    EXPECT_EQ(field.attributedStringValue().font, Font::systemFontOfSize(12.0));
    EXPECT_EQ(field.attributedStringValue().foregroundColor, (Color{1, 1, 1, 1}));
    EXPECT_FALSE(field.drawsBackground());
    EXPECT_FALSE(field.isBordered());
    EXPECT_FALSE(field.isSelectable());
    EXPECT_FALSE(field.isEditable());
    EXPECT_TRUE(field.isEnabled());
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, TheIconIsScaledToFit) {
    view.spawnUI();
    EXPECT_EQ(view.iconImageView()->image(), images.imageNamed("icn_check"));
    EXPECT_EQ(view.iconImageView()->imageScaling(), platform::ui::ImageScaling::proportionallyUpOrDown);
    EXPECT_EQ(static_cast<int>(view.iconImageView()->imageScaling()), 3);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, WithoutAnIconTheImageViewShowsNothing) {
    view.setIconImage(nullptr);
    view.spawnUI();
    EXPECT_EQ(view.iconImageView()->image(), nullptr);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, TheCloseButtonHasOneImageAState) {
    view.spawnUI();
    const auto& button = *view.closeButton();
    EXPECT_EQ(static_cast<int>(button.imagePosition()), 6);
    const std::vector<std::string> names = {"icn_close_disable", "icn_close_default", "icn_close_hover",
                                            "icn_close_focus", "icn_close_pressed"};
    for (int state = 0; state < 5; ++state) {
        EXPECT_EQ(button.buttonImage(static_cast<AuroraButtonState>(state)),
                  images.imageNamed(names[static_cast<std::size_t>(state)]))
            << state;
    }
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, AMissingImageLeavesItsStateWithoutOne) {
    images.setMissing("icn_close_hover");
    view.spawnUI();
    EXPECT_EQ(view.closeButton()->buttonImage(AuroraButtonState::hover), nullptr);
    EXPECT_NE(view.closeButton()->buttonImage(AuroraButtonState::normal), nullptr);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, TheCloseButtonAsksTheDelegateWithTheView) {
    const auto requests = std::make_shared<CloseRequests>();
    view.setDelegate(requests);
    view.spawnUI();
    view.closeButton()->sendAction();
    EXPECT_EQ(requests->views, std::vector<const KTRMeetingRecordingSavedBubbleView*>{&view});
    view.onClosed(nullptr);
    EXPECT_EQ(requests->views.size(), 2U);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, WithoutADelegateOrTheOperationTheCloseButtonDoesNothing) {
    view.spawnUI();
    view.closeButton()->sendAction();
    const auto nothing = std::make_shared<KTRMeetingRecordingSavedBubbleViewDelegate>();
    view.setDelegate(nothing);
    view.closeButton()->sendAction();
    EXPECT_EQ(view.delegate(), nothing);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, APressRunsTheModelsCallback) {
    int pressed = 0;
    const auto pressable = model("Open");
    pressable->setFunction([&pressed] { ++pressed; });
    view.setButtonModelArray({pressable});
    view.spawnUI();
    view.buttonsArray()[0]->sendAction();
    view.buttonsArray()[0]->sendAction();
    EXPECT_EQ(pressed, 2);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, APressWithoutACallbackDoesNothing) {
    view.setButtonModelArray({model("Open")});
    view.spawnUI();
    view.buttonsArray()[0]->sendAction();
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, RightAndLeftButtonAreNullBeforeAndAfterTheLayout) {
    EXPECT_EQ(view.rightButton(), nullptr);
    EXPECT_EQ(view.leftButton(), nullptr);
    view.setButtonModelArray({model("Open"), model("View in Folder")});
    view.spawnUI();
    EXPECT_EQ(view.rightButton(), nullptr);
    EXPECT_EQ(view.leftButton(), nullptr);
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, EachPartIsTheVerySameObjectAtEachRead) {
    view.spawnUI();
    EXPECT_EQ(view.contentField().get(), view.contentField().get());
    EXPECT_EQ(view.iconImageView().get(), view.iconImageView().get());
    EXPECT_EQ(view.closeButton().get(), view.closeButton().get());
    const auto frame = view.contentField()->frame();
    view.setContentString("another");
    view.setBubbleWidth(1000);
    EXPECT_EQ(view.contentField()->frame(), frame) << "a part keeps the values of its first read";
    EXPECT_EQ(view.contentField()->attributedStringValue().string, "text");
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, FieldsCanBeSetAndRead) {
    view.setButtonArrayMinX(3);
    view.setBubbleHeight(4);
    view.setButtonsArray({std::make_shared<AuroraRoundedButton>()});
    EXPECT_EQ(view.buttonArrayMinX(), 3U);
    EXPECT_EQ(view.bubbleHeight(), 4U);
    EXPECT_EQ(view.buttonsArray().size(), 1U);
    EXPECT_EQ(view.contentString(), "text");
    EXPECT_EQ(view.iconImage(), images.imageNamed("icn_check"));
}

TEST_F(KTRMeetingRecordingSavedBubbleViewTest, TheDelegateIsNotOwned) {
    auto requests = std::make_shared<CloseRequests>();
    view.setDelegate(requests);
    const std::weak_ptr<CloseRequests> watched = requests;
    requests = nullptr;
    EXPECT_TRUE(watched.expired());
}

}  // namespace
