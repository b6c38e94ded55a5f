#pragma once

#include "platform/ui/ImageView.h"
#include "platform/ui/TextField.h"
#include "platform/ui/View.h"

#include <QLabel>
#include <QRect>
#include <QWidget>
#include <memory>

namespace uilib::qt {

/// The frame of a view inside one of the given size, as the toolkit counts: from the top, in whole pixels, and mirrored
/// where the application reads from right to left. Edges are rounded one by one, so that neighbours stay neighbours.
QRect widgetFrame(const platform::ui::Rect& frame, const platform::ui::Rect& surrounding);

/// The frame of a view's widget: `widgetFrame`, grown around its middle to what a finger or an unsteady hand can hit
/// where the view is an image button.
QRect hitFrame(const platform::ui::View& view, const platform::ui::Rect& surrounding);

/// Makes the widgets of a view and all its subviews, back to front, the view's at `parent`'s origin. The widgets keep
/// their views alive and send presses to them. With `moreContrast` every button has an outline.
QWidget* makeViewWidget(const std::shared_ptr<platform::ui::View>& view, QWidget* parent, bool moreContrast);

/// A text that screen readers read as one.
class TextFieldWidget final : public QLabel {
public:
    TextFieldWidget(std::shared_ptr<const platform::ui::TextField> field, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const std::shared_ptr<const platform::ui::TextField> field_;
};

/// A picture that means nothing to a screen reader: the text beside it says the same.
class ImageViewWidget final : public QWidget {
public:
    ImageViewWidget(std::shared_ptr<const platform::ui::ImageView> view, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const std::shared_ptr<const platform::ui::ImageView> view_;
};

}  // namespace uilib::qt
