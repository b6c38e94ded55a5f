#include "uilib/qt/ButtonWidgets.h"

#include "platform/StringTables.h"
#include "platform/qt/TextLines.h"
#include "platform/qt/VectorPicture.h"

#include <QEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <utility>

namespace uilib::qt {

namespace {

constexpr double cornerRadius = 4;
constexpr double focusRingWidth = 1.5;
constexpr double outlineWidth = 1;
// A contrast of at least 3 to 1 to the surfaces on both sides of it.
const QColor outlineColor(200, 200, 200);

struct Look {
    QColor face;
    QColor title;
};

// Light on the bubble's black. Every enabled title has a contrast of at least 7 to 1 to its background.
Look lookOf(AuroraButtonState state) {
    const QColor white(255, 255, 255);
    switch (state) {
    case AuroraButtonState::disabled:
        return {QColor(38, 38, 38), QColor(128, 128, 128)};
    case AuroraButtonState::hover:
        return {QColor(84, 84, 84), white};
    case AuroraButtonState::pressed:
        return {QColor(36, 36, 36), QColor(225, 225, 225)};
    case AuroraButtonState::focused:
    case AuroraButtonState::normal:
        break;
    }
    return {QColor(58, 58, 58), white};
}

Qt::Alignment toolkitAlignment(AuroraTextAlignment alignment) {
    switch (alignment) {
    case AuroraTextAlignment::right:
        return Qt::AlignRight;
    case AuroraTextAlignment::center:
        return Qt::AlignHCenter;
    case AuroraTextAlignment::left:
        break;
    }
    return Qt::AlignLeft;
}

}  // namespace

ControlWidget::ControlWidget(std::shared_ptr<const platform::ui::Control> control, QWidget* parent)
    : QAbstractButton(parent), control_(std::move(control)) {
    setEnabled(control_->isEnabled());
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    // The action may destroy this widget's bubble; its own reference keeps the control alive during the call.
    connect(this, &QAbstractButton::clicked, this, [this] {
        const auto pressed = control_;
        pressed->sendAction();
    });
}

bool ControlWidget::event(QEvent* event) {
    if (event->type() == QEvent::EnabledChange) {
        update();
    }
    return QAbstractButton::event(event);
}

void ControlWidget::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        animateClick();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

AuroraButtonState ControlWidget::state() const {
    if (!isEnabled()) {
        return AuroraButtonState::disabled;
    }
    if (isDown()) {
        return AuroraButtonState::pressed;
    }
    if (underMouse()) {
        return AuroraButtonState::hover;
    }
    return hasFocus() ? AuroraButtonState::focused : AuroraButtonState::normal;
}

RoundedButtonWidget::RoundedButtonWidget(std::shared_ptr<const AuroraRoundedButton> button, QWidget* parent,
                                         bool moreContrast)
    : ControlWidget(button, parent), button_(std::move(button)), moreContrast_(moreContrast) {
    // An ampersand in a title is a character, not a shortcut.
    auto title = QString::fromStdString(button_->title().value_or(""));
    setAccessibleName(title);
    setText(title.replace(QLatin1Char('&'), QLatin1String("&&")));
}

void RoundedButtonWidget::paintEvent(QPaintEvent*) {
    const auto look = lookOf(state());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    painter.setPen(Qt::NoPen);
    painter.setBrush(look.face);
    painter.drawRoundedRect(QRectF(rect()), cornerRadius, cornerRadius);
    // The ring shows the keyboard focus, wherever the pointer is.
    if (hasFocus() || moreContrast_) {
        const double width = hasFocus() ? focusRingWidth : outlineWidth;
        const double inset = width / 2;
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(hasFocus() ? QColor(Qt::white) : outlineColor, width));
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), cornerRadius, cornerRadius);
    }
    painter.setFont(platform::qt::toolkitFont(button_->font()));
    painter.setPen(look.title);
    painter.drawText(QRectF(rect()),
                     static_cast<int>(Qt::AlignVCenter | toolkitAlignment(button_->alignment())) | Qt::TextSingleLine,
                     accessibleName());
}

StatesButtonWidget::StatesButtonWidget(std::shared_ptr<const AuroraXStatesButton> button, QWidget* parent)
    : ControlWidget(button, parent), button_(std::move(button)) {
    setAccessibleName(
        QString::fromStdString(platform::StringTables::standard().localizedString("Close", "Localizable")));
}

void StatesButtonWidget::paintEvent(QPaintEvent*) {
    const bool showsFocus = hasFocus() && isEnabled() && !isDown();
    if (const auto image = button_->buttonImage(showsFocus ? AuroraButtonState::focused : state())) {
        QRectF frame(0, 0, button_->frame().width, button_->frame().height);
        frame.moveCenter(QRectF(rect()).center());
        QPainter painter(this);
        platform::qt::VectorPicture(*image).draw(painter, frame);
    }
}

}  // namespace uilib::qt
