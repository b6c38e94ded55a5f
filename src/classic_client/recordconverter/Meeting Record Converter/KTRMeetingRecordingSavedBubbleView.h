#pragma once

#include "platform/ui/ImageView.h"
#include "platform/ui/TextField.h"
#include "platform/ui/View.h"
#include "uilib/AuroraRoundedButton.h"
#include "uilib/AuroraXStatesButton.h"
#include "uilib/CAuroraBubbleDescription.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class KTRMeetingRecordingBubbleButtonModel;
class KTRMeetingRecordingSavedBubbleView;

class KTRMeetingRecordingSavedBubbleViewDelegate {
public:
    virtual ~KTRMeetingRecordingSavedBubbleViewDelegate() = default;

    /// The user pressed the view's close button.
    virtual void meetingRecordingSavedBubbleViewRequestToClose(KTRMeetingRecordingSavedBubbleView&) {}
};

/// The content of every bubble: icon at the top left, white text, close button at the top right, push buttons along the
/// bottom right. The bubble manager creates it, configures it, and has `spawnUI` lay it out once. Reports to the
/// manager. Main thread.
///
/// Widths, heights and offsets are whole points: every step computes in floating point and drops the fraction, so that
/// a bubble has the same size wherever the same text width was measured.
class KTRMeetingRecordingSavedBubbleView final : public platform::ui::View {
public:
    using ButtonModels = std::vector<std::shared_ptr<KTRMeetingRecordingBubbleButtonModel>>;
    using Buttons = std::vector<std::shared_ptr<AuroraRoundedButton>>;

    std::shared_ptr<KTRMeetingRecordingSavedBubbleViewDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRMeetingRecordingSavedBubbleViewDelegate>& delegate) {
        delegate_ = delegate;
    }

    const std::optional<std::string>& contentString() const { return contentString_; }
    void setContentString(std::optional<std::string> text) { contentString_ = std::move(text); }

    /// Null shows no icon.
    const std::shared_ptr<const platform::ui::Image>& iconImage() const { return iconImage_; }
    void setIconImage(std::shared_ptr<const platform::ui::Image> image) { iconImage_ = std::move(image); }

    /// What the bubble reports; news unless set.
    AuroraBubbleKind kind() const { return kind_; }
    void setKind(AuroraBubbleKind kind) { kind_ = kind; }

    /// One model per push button, the rightmost first.
    const ButtonModels& buttonModelArray() const { return buttonModelArray_; }
    void setButtonModelArray(ButtonModels models) { buttonModelArray_ = std::move(models); }

    /// Computes the size and builds all parts from the current settings. Once per view.
    void spawnUI();

    /// Creates one push button and widens the bubble if the row needs it; `reLayoutButtonWithUIModel` places it.
    void addButtonWithUIModel(const std::shared_ptr<KTRMeetingRecordingBubbleButtonModel>& model);
    void reLayoutButtonWithUIModel(const std::shared_ptr<AuroraRoundedButton>& button,
                                   const std::shared_ptr<KTRMeetingRecordingBubbleButtonModel>& model);

    /// The width rule of `addButtonWithUIModel` on its own, for a button `width` points wide. Nothing here calls it.
    void calculateBubbleWidthWithButtonWidth(double width);

    /// The close button's action.
    void onClosed(const platform::ui::Control* sender);

    // Each part is created on the first call and stays the same. Creating `contentField` also sizes the view.
    const std::shared_ptr<AuroraXStatesButton>& closeButton();
    const std::shared_ptr<platform::ui::ImageView>& iconImageView();
    const std::shared_ptr<platform::ui::TextField>& contentField();

    /// The push buttons, in model order.
    const Buttons& buttonsArray() const { return buttonsArray_; }
    void setButtonsArray(Buttons buttons) { buttonsArray_ = std::move(buttons); }

    /// Always null: `buttonsArray` holds every button.
    std::shared_ptr<AuroraRoundedButton> rightButton() const { return nullptr; }
    std::shared_ptr<AuroraRoundedButton> leftButton() const { return nullptr; }

    /// Running offset of the button row from the right margin. Points.
    std::uint64_t buttonArrayMinX() const { return buttonArrayMinX_; }
    void setButtonArrayMinX(std::uint64_t offset) { buttonArrayMinX_ = offset; }
    std::uint64_t bubbleWidth() const { return bubbleWidth_; }
    void setBubbleWidth(std::uint64_t width) { bubbleWidth_ = width; }
    std::uint64_t bubbleHeight() const { return bubbleHeight_; }
    void setBubbleHeight(std::uint64_t height) { bubbleHeight_ = height; }

private:
    void makeRoomForButton(double width);

    std::shared_ptr<AuroraXStatesButton> closeButton_;
    std::shared_ptr<platform::ui::ImageView> iconImageView_;
    std::shared_ptr<platform::ui::TextField> contentField_;
    Buttons buttonsArray_;
    std::optional<std::string> contentString_;
    std::shared_ptr<const platform::ui::Image> iconImage_;
    AuroraBubbleKind kind_ = AuroraBubbleKind::news;
    ButtonModels buttonModelArray_;
    std::weak_ptr<KTRMeetingRecordingSavedBubbleViewDelegate> delegate_;
    std::uint64_t buttonArrayMinX_ = 0;
    std::uint64_t bubbleWidth_ = 0;
    std::uint64_t bubbleHeight_ = 0;
};
