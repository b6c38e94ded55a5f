#include "KTRMeetingRecordingSavedBubbleView.h"

#include "KTRMeetingRecordingBubbleButtonModel.h"
#include "platform/ui/TextMeasure.h"
#include "uilib/AuroraText.h"

#include <algorithm>
#include <limits>

namespace {

using platform::ui::Color;
using platform::ui::Font;
using platform::ui::ImageCatalog;
using platform::ui::Rect;

constexpr double leastBubbleWidth = 255.0;
constexpr double leastBubbleHeight = 45.0;

constexpr double buttonHeight = 24.0;
constexpr double buttonPadding = 24.0;
constexpr double buttonGap = 8.0;
constexpr double buttonRowMargins = 16.0;
constexpr double buttonRowBottom = 16.0;
constexpr double buttonRowSpacing = 12.0;
constexpr std::int32_t defaultButtonType = 5;

constexpr double textLeft = 36.0;
constexpr double textRight = 20.0;
constexpr double textBottom = 16.0;
constexpr double textBottomAboveButtons = 52.0;
constexpr double textLineHeight = 16.0;
constexpr double fontSize = 12.0;

constexpr double iconLeft = 12.0;
constexpr double iconTop = 16.0;
constexpr double iconSide = 16.0;

constexpr double closeButtonSide = 12.0;
constexpr double closeButtonInset = 6.0;

std::uint64_t truncated(double points) {
    return static_cast<std::uint64_t>(points);
}

double points(std::uint64_t whole) {
    return static_cast<double>(whole);
}

}  // namespace

void KTRMeetingRecordingSavedBubbleView::spawnUI() {
    bubbleWidth_ = truncated(leastBubbleWidth);
    bubbleHeight_ = truncated(leastBubbleHeight);
    if (!buttonModelArray_.empty()) {
        bubbleHeight_ = truncated(points(bubbleHeight_) + buttonHeight + buttonRowSpacing);
        for (const auto& model : buttonModelArray_) {
            addButtonWithUIModel(model);
        }
        // The first pass over the row finds the width; a second pass places the buttons from the right edge.
        buttonArrayMinX_ = 0;
        for (std::size_t i = 0; i < std::min(buttonsArray_.size(), buttonModelArray_.size()); ++i) {
            reLayoutButtonWithUIModel(buttonsArray_[i], buttonModelArray_[i]);
        }
    }
    // The text comes first: it may raise the top edge, to which the icon and the close button are attached.
    addSubview(contentField());
    addSubview(iconImageView());
    addSubview(closeButton());
}

void KTRMeetingRecordingSavedBubbleView::addButtonWithUIModel(
    const std::shared_ptr<KTRMeetingRecordingBubbleButtonModel>& model) {
    auto button = std::make_shared<AuroraRoundedButton>();
    button->setTitle(model->buttonTitle());
    if (!model->titleFont()) {
        model->setTitleFont(fontWithTamsaFontName("TamsaSansTT Light", fontSize));
    }
    button->setFont(*model->titleFont());
    if (model->buttonType() == 0) {
        model->setButtonType(defaultButtonType);
    }
    button->setButtonType(model->buttonType());
    button->setAlignment(AuroraTextAlignment::center);

    double width = buttonPadding;
    if (model->buttonTitle()) {
        constexpr double unbounded = std::numeric_limits<float>::max();
        width += platform::ui::TextMeasure::standard()
                     .sizeOfText(*model->buttonTitle(), *model->titleFont(), unbounded)
                     .width;
    }
    makeRoomForButton(width);
    model->setButtonSize({width, buttonHeight});

    button->setAction(model->function());
    buttonsArray_.push_back(button);
    addSubview(std::move(button));
}

void KTRMeetingRecordingSavedBubbleView::calculateBubbleWidthWithButtonWidth(double width) {
    makeRoomForButton(width);
}

void KTRMeetingRecordingSavedBubbleView::makeRoomForButton(double width) {
    const double needed = points(buttonArrayMinX_) + buttonRowMargins + width;
    if (needed > points(bubbleWidth_)) {
        bubbleWidth_ = truncated(needed);
    }
    buttonArrayMinX_ = truncated(points(buttonArrayMinX_) + buttonGap + width);
}

void KTRMeetingRecordingSavedBubbleView::reLayoutButtonWithUIModel(
    const std::shared_ptr<AuroraRoundedButton>& button,
    const std::shared_ptr<KTRMeetingRecordingBubbleButtonModel>& model) {
    const auto [width, height] = model->buttonSize();
    const double x = points(bubbleWidth_) - buttonGap - points(buttonArrayMinX_) - width;
    button->setFrame({x, buttonRowBottom, width, height});
    buttonArrayMinX_ = truncated(width + (points(buttonArrayMinX_) + buttonGap));
}

void KTRMeetingRecordingSavedBubbleView::onClosed(const platform::ui::Control* /*sender*/) {
    if (const auto delegate = delegate_.lock()) {
        delegate->meetingRecordingSavedBubbleViewRequestToClose(*this);
    }
}

const std::shared_ptr<AuroraXStatesButton>& KTRMeetingRecordingSavedBubbleView::closeButton() {
    if (!closeButton_) {
        const double inset = closeButtonSide + closeButtonInset;
        closeButton_ = std::make_shared<AuroraXStatesButton>(
            Rect{points(bubbleWidth_) - inset, points(bubbleHeight_) - inset, closeButtonSide, closeButtonSide});
        closeButton_->setImagePosition(AuroraImagePosition::imageOverlaps);
        const auto& images = ImageCatalog::standard();
        closeButton_->setButtonImage(images.imageNamed("icn_close_disable"), AuroraButtonState::disabled);
        closeButton_->setButtonImage(images.imageNamed("icn_close_default"), AuroraButtonState::normal);
        closeButton_->setButtonImage(images.imageNamed("icn_close_hover"), AuroraButtonState::hover);
        closeButton_->setButtonImage(images.imageNamed("icn_close_focus"), AuroraButtonState::focused);
        closeButton_->setButtonImage(images.imageNamed("icn_close_pressed"), AuroraButtonState::pressed);
        closeButton_->setAction([this] { onClosed(closeButton_.get()); });
    }
    return closeButton_;
}

const std::shared_ptr<platform::ui::ImageView>& KTRMeetingRecordingSavedBubbleView::iconImageView() {
    if (!iconImageView_) {
        iconImageView_ = std::make_shared<platform::ui::ImageView>(
            Rect{iconLeft, points(bubbleHeight_) - iconTop - iconSide, iconSide, iconSide});
        iconImageView_->setImage(iconImage_);
        iconImageView_->setImageScaling(platform::ui::ImageScaling::proportionallyUpOrDown);
    }
    return iconImageView_;
}

const std::shared_ptr<platform::ui::TextField>& KTRMeetingRecordingSavedBubbleView::contentField() {
    if (!contentField_) {
        auto field = std::make_shared<platform::ui::TextField>();
        field->setDrawsBackground(false);
        field->setBordered(false);
        field->setSelectable(false);
        field->setEditable(false);
        field->setEnabled(true);
        field->setAttributedStringValue(
            {contentString_.value_or(std::string()), Font::systemFontOfSize(fontSize), Color::whiteColor()});

        const double width = points(bubbleWidth_) - textLeft - textRight;
        const double height = getTextContainerSize(*field, static_cast<std::int32_t>(width)).height;
        if (height > textLineHeight) {
            bubbleHeight_ = truncated(points(bubbleHeight_) + (height - textLineHeight));
        }
        const double y = buttonModelArray_.empty() ? textBottom : textBottomAboveButtons;
        field->setFrame({textLeft, y, width, height});
        setFrameSize({points(bubbleWidth_), points(bubbleHeight_)});
        contentField_ = std::move(field);
    }
    return contentField_;
}
