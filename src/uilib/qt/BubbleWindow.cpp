#include "uilib/qt/BubbleWindow.h"

#include "uilib/qt/BubbleShape.h"
#include "uilib/qt/Compositing.h"
#include "uilib/qt/ViewWidgets.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMetaObject>
#include <QPainter>
#include <QWindow>
#include <utility>

namespace uilib::qt {

namespace {

QColor toolkitColor(const platform::ui::Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

AuroraArrowRecord arrowOf(const CAuroraBubbleDescription& description) {
    return description.bHasArrow() && description.arrowDescription() ? *description.arrowDescription()
                                                                     : AuroraArrowRecord();
}

}  // namespace

BubbleWindow::BubbleWindow(std::shared_ptr<const CAuroraBubbleDescription> description,
                           const std::shared_ptr<platform::ui::View>& clientView, const Taste& taste, Handlers handlers)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus |
                           Qt::NoDropShadowWindowHint),
      description_(std::move(description)),
      clientView_(clientView),
      handlers_(std::move(handlers)),
      bodySize_{clientView->frame().width, clientView->frame().height},
      arrow_(arrowOf(*description_)),
      isComposited_(isDesktopComposited()),
      canFade_(canFadeWindows() && !taste.lessMotion),
      hasEdge_(taste.moreContrast) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_X11NetWmWindowTypeNotification);
    setAttribute(Qt::WA_TranslucentBackground);
    // Off-screen there is nothing to show it on, only to draw it for.
    setAttribute(Qt::WA_DontShowOnScreen, QGuiApplication::platformName() == QLatin1String("offscreen"));
    setWindowTitle(QStringLiteral("Record converter"));
    setObjectName(QStringLiteral("bubble"));

    auto* const client = makeViewWidget(clientView_, this);
    client->setObjectName(QStringLiteral("client"));
    client->move(bodyInWindow().topLeft().toPoint());
    const int arrowRoom = qRound(arrow_.height);
    resize(client->width() + 2 * kShadowExtent, client->height() + 2 * (kShadowExtent + arrowRoom));

    connect(&animation_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setWindowOpacity(value.toDouble()); });
}

void BubbleWindow::Retirement::operator()(BubbleWindow* window) const {
    window->handlers_ = {};
    window->animation_.stop();
    window->hide();
    window->deleteLater();
}

QRectF BubbleWindow::bodyInWindow() const {
    return {static_cast<double>(kShadowExtent), kShadowExtent + arrow_.height, bodySize_.width, bodySize_.height};
}

QPainterPath BubbleWindow::outline() const {
    return bubbleOutline(bodyInWindow(), description_->fCornerRadius(), arrow_, place_.arrow, place_.arrowTip);
}

void BubbleWindow::moveTo(const Place& place) {
    const Place before = std::exchange(place_, place);
    move((QPointF(place.body.x, place.body.y) - bodyInWindow().topLeft()).toPoint());
    // Each bubble that goes moves all behind it up, and few of them look otherwise for that.
    if (shapedAtScale_ != devicePixelRatio() || before.arrow != place.arrow || before.arrowTip != place.arrowTip) {
        reshape();
        update();
    }
}

void BubbleWindow::reshape() {
    shapedAtScale_ = devicePixelRatio();
    const QRegion region(outline().toFillPolygon().toPolygon());
    if (isComposited_) {
        // What shows through should also be clicked through.
        winId();
        setInputRegion(*windowHandle(), region);
    } else {
        setMask(region);
    }
}

void BubbleWindow::fadeIn(double seconds, std::function<void()> then) {
    if (canFade_ && seconds > 0) {
        setWindowOpacity(0);
    }
    show();
    fade(0, 1, seconds, std::move(then));
}

void BubbleWindow::fadeOut(double seconds, std::function<void()> then) {
    fade(windowOpacity(), 0, seconds, [this, then = std::move(then)] {
        hide();
        then();
    });
}

void BubbleWindow::fade(double from, double to, double seconds, std::function<void()> then) {
    animation_.stop();
    animation_.disconnect(SIGNAL(finished()));
    if (!canFade_ || seconds <= 0) {
        QMetaObject::invokeMethod(this, std::move(then), Qt::QueuedConnection);
        return;
    }
    animation_.setStartValue(from);
    animation_.setEndValue(to);
    animation_.setDuration(qRound(seconds * 1000));
    connect(&animation_, &QVariantAnimation::finished, this, std::move(then), Qt::QueuedConnection);
    animation_.start();
}

void BubbleWindow::paintEvent(QPaintEvent*) {
    const auto shape = outline();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isComposited_) {
        drawShadow(painter, shape);
    }
    painter.fillPath(shape, toolkitColor(description_->bgColor()));
    if (hasEdge_) {
        painter.strokePath(shape, QPen(Qt::white, 2));
    } else if (description_->borderColor().alpha > 0) {
        painter.strokePath(shape, QPen(toolkitColor(description_->borderColor()), 1));
    }
}

void BubbleWindow::tellAttention() {
    const bool isAttended = isPointerInside_ || isActiveWindow();
    if (std::exchange(isAttended_, isAttended) != isAttended && handlers_.attended) {
        handlers_.attended(isAttended);
    }
}

void BubbleWindow::dismiss() {
    if (handlers_.dismissed) {
        handlers_.dismissed();
    }
}

void BubbleWindow::enterEvent(QEnterEvent*) {
    isPointerInside_ = true;
    tellAttention();
}

void BubbleWindow::leaveEvent(QEvent*) {
    isPointerInside_ = false;
    tellAttention();
}

void BubbleWindow::mousePressEvent(QMouseEvent*) {
    // Who clicks the bare bubble asks for it: from here on the keyboard may come.
    windowHandle()->setFlag(Qt::WindowDoesNotAcceptFocus, false);
    activateWindow();
}

void BubbleWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        dismiss();
        return;
    }
    QWidget::keyPressEvent(event);
}

void BubbleWindow::closeEvent(QCloseEvent* event) {
    // The window manager's wish is the user's; the bubble takes its own time to go.
    event->ignore();
    dismiss();
}

void BubbleWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ActivationChange) {
        tellAttention();
    }
    QWidget::changeEvent(event);
}

}  // namespace uilib::qt
