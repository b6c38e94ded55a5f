#include "uilib/qt/ViewWidgets.h"

#include "platform/qt/TextLines.h"
#include "platform/qt/VectorPicture.h"
#include "uilib/AuroraRoundedButton.h"
#include "uilib/AuroraXStatesButton.h"
#include "uilib/qt/ButtonWidgets.h"

#include <QGuiApplication>
#include <QPainter>
#include <algorithm>
#include <utility>

namespace uilib::qt {

namespace {

QColor toolkitColor(const platform::ui::Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

// Web Content Accessibility Guidelines 2.2, 2.5.8. Points.
constexpr int leastTarget = 24;

QWidget* makeWidgetOfKind(const std::shared_ptr<platform::ui::View>& view, QWidget* parent, bool moreContrast) {
    if (auto field = std::dynamic_pointer_cast<platform::ui::TextField>(view)) {
        return new TextFieldWidget(std::move(field), parent);
    }
    if (auto image = std::dynamic_pointer_cast<platform::ui::ImageView>(view)) {
        return new ImageViewWidget(std::move(image), parent);
    }
    if (auto button = std::dynamic_pointer_cast<AuroraRoundedButton>(view)) {
        return new RoundedButtonWidget(std::move(button), parent, moreContrast);
    }
    if (auto button = std::dynamic_pointer_cast<AuroraXStatesButton>(view)) {
        return new StatesButtonWidget(std::move(button), parent);
    }
    return new QWidget(parent);
}

}  // namespace

QRect widgetFrame(const platform::ui::Rect& frame, const platform::ui::Rect& surrounding) {
    const double left = QGuiApplication::isRightToLeft() ? surrounding.width - frame.x - frame.width : frame.x;
    const QPoint topLeft(qRound(left), qRound(surrounding.height - frame.y - frame.height));
    const QPoint bottomRight(qRound(left + frame.width), qRound(surrounding.height - frame.y));
    return {topLeft, QSize(bottomRight.x() - topLeft.x(), bottomRight.y() - topLeft.y())};
}

QRect hitFrame(const platform::ui::View& view, const platform::ui::Rect& surrounding) {
    const auto frame = widgetFrame(view.frame(), surrounding);
    if (dynamic_cast<const AuroraXStatesButton*>(&view) == nullptr) {
        return frame;
    }
    const int across = std::max(0, leastTarget - frame.width());
    const int down = std::max(0, leastTarget - frame.height());
    return frame.adjusted(-across / 2, -down / 2, across - across / 2, down - down / 2);
}

QWidget* makeViewWidget(const std::shared_ptr<platform::ui::View>& view, QWidget* parent, bool moreContrast) {
    auto* const widget = makeWidgetOfKind(view, parent, moreContrast);
    if (!view->toolTip().empty()) {
        // As rich text, because a name that looks like rich text would be interpreted as such.
        widget->setToolTip(QStringLiteral("<p style='white-space:pre'>%1</p>")
                               .arg(QString::fromStdString(view->toolTip()).toHtmlEscaped()));
    }
    const auto& frame = view->frame();
    widget->resize(qRound(frame.width), qRound(frame.height));
    for (const auto& subview : view->subviews()) {
        makeViewWidget(subview, widget, moreContrast)->setGeometry(hitFrame(*subview, frame));
    }
    return widget;
}

TextFieldWidget::TextFieldWidget(std::shared_ptr<const platform::ui::TextField> field, QWidget* parent)
    : QLabel(parent), field_(std::move(field)) {
    setTextFormat(Qt::PlainText);
    setText(QString::fromStdString(field_->attributedStringValue().string));
}

void TextFieldWidget::paintEvent(QPaintEvent*) {
    const auto& value = field_->attributedStringValue();
    QPainter painter(this);
    platform::qt::TextLines(text(), platform::qt::toolkitFont(value.font), field_->frame().width)
        .draw(painter, rect(), toolkitColor(value.foregroundColor));
}

ImageViewWidget::ImageViewWidget(std::shared_ptr<const platform::ui::ImageView> view, QWidget* parent)
    : QWidget(parent), view_(std::move(view)) {}

void ImageViewWidget::paintEvent(QPaintEvent*) {
    if (!view_->image()) {
        return;
    }
    const platform::qt::VectorPicture picture(*view_->image());
    QRectF frame(rect());
    if (view_->imageScaling() == platform::ui::ImageScaling::none) {
        const auto center = frame.center();
        frame.setSize(picture.size());
        frame.moveCenter(center);
    }
    QPainter painter(this);
    picture.draw(painter, frame);
}

}  // namespace uilib::qt
