#pragma once

#include "platform/ui/ImageView.h"
#include "platform/ui/TextField.h"
#include "platform/ui/View.h"

#include <QLabel>
#include <QRect>
#include <QWidget>
#include <memory>

namespace uilib::qt {

/// The frame of a view inside one of the given size, in the toolkit's coordinates: from the top, in whole pixels, and
/// mirrored if the application reads from right to left. Edges are rounded individually, so that adjacent views stay
/// adjacent.
QRect widgetFrame(const platform::ui::Rect& frame, const platform::ui::Rect& surrounding);

/// The frame of a view's widget: `widgetFrame`, for an image button enlarged around its middle to a size that is easy
/// to hit.
QRect hitFrame(const platform::ui::View& view, const platform::ui::Rect& surrounding);

/// Creates the widgets of a view and all its subviews, back to front, the view's at `parent`'s origin. The widgets keep
/// their views alive and report presses to them. With `moreContrast` every button has an outline.
QWidget* makeViewWidget(const std::shared_ptr<platform::ui::View>& view, QWidget* parent, bool moreContrast);

/// A text that screen readers read as a whole.
class TextFieldWidget final : public QLabel {
public:
    TextFieldWidget(std::shared_ptr<const platform::ui::TextField> field, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const std::shared_ptr<const platform::ui::TextField> field_;
};

/// An image without meaning for a screen reader: the text beside it says the same.
class ImageViewWidget final : public QWidget {
public:
    ImageViewWidget(std::shared_ptr<const platform::ui::ImageView> view, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const std::shared_ptr<const platform::ui::ImageView> view_;
};

}  // namespace uilib::qt
