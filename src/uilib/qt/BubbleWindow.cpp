#include "uilib/qt/BubbleWindow.h"

#include "platform/ProgramIdentity.h"
#include "platform/qt/LayerSurfaces.h"
#include "uilib/qt/BubbleAccessible.h"
#include "uilib/qt/BubbleContent.h"
#include "uilib/qt/BubbleShape.h"
#include "uilib/qt/Compositing.h"
#include "uilib/qt/ViewWidgets.h"
#include "uilib/qt/X11Window.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMetaObject>
#include <QPainter>
#include <QWindow>
#include <utility>

namespace uilib::qt {

namespace {

// Milliseconds.
constexpr int slideTime = 150;
// 3 to 1 on black. The client view's widget lies above, and leaves its edge transparent.
const QColor innerOutlineColor(96, 96, 96);
constexpr double innerOutlineWidth = 1;

QColor toolkitColor(const platform::ui::Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

AuroraArrowRecord arrowOf(const CAuroraBubbleDescription& description) {
    return description.bHasArrow() && description.arrowDescription() ? *description.arrowDescription()
                                                                     : AuroraArrowRecord();
}

// Without a kind of its own (tool, dialog) the window is only a notification: window managers hide the tools of an
// application that is not the active one.
Qt::WindowFlags flagsFor(BubbleWindow::Host host) {
    const Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                                  Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint;
    return host == BubbleWindow::Host::none ? flags | Qt::X11BypassWindowManagerHint : flags;
}

}  // namespace

BubbleWindow::BubbleWindow(std::shared_ptr<const CAuroraBubbleDescription> description,
                           const std::shared_ptr<platform::ui::View>& clientView, const Taste& taste, Host host,
                           Handlers handlers)
    : QWidget(nullptr, flagsFor(host)),
      description_(std::move(description)),
      clientView_(clientView),
      handlers_(std::move(handlers)),
      bodySize_{clientView->frame().width, clientView->frame().height},
      arrow_(arrowOf(*description_)),
      isComposited_(isDesktopComposited()),
      canFade_(canFadeWindows() && !taste.lessMotion),
      canSlide_(!taste.lessMotion),
      hasEdge_(taste.moreContrast),
      isLayer_(platform::qt::usesLayerSurfaces()) {
    // Before the first text, because the toolkit keeps the first role it gets for a window.
    announceAsNotifications();
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    // Off-screen there is nothing to show it on; it is only drawn.
    setAttribute(Qt::WA_DontShowOnScreen, QGuiApplication::platformName() == QLatin1String("offscreen"));
    setWindowTitle(QString::fromLatin1(platform::programTitle));
    const auto content = contentOf(*description_, clientView_);
    setAccessibleName(QString::fromStdString(content.text));
    setAccessibleDescription(QString::fromStdString(content.detail));
    setObjectName(QStringLiteral("bubble"));

    auto* const client = makeViewWidget(clientView_, this, taste.moreContrast);
    client->setObjectName(QStringLiteral("client"));
    client->move(bodyInWindow().topLeft().toPoint());
    const int arrowRoom = qRound(arrow_.height);
    resize(client->width() + 2 * shadowExtent, client->height() + 2 * (shadowExtent + arrowRoom));

    winId();
    if (isLayer_) {
        platform::qt::makeLayerSurface(*windowHandle());
    }
    markAsNotification(*windowHandle());
    connect(&animation_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setWindowOpacity(value.toDouble()); });
    motion_.setDuration(slideTime);
    motion_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&motion_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { putAt(value.toPoint()); });
}

void BubbleWindow::Retirement::operator()(BubbleWindow* window) const {
    window->handlers_ = {};
    window->animation_.stop();
    window->motion_.stop();
    window->inspection_.reset();
    window->hide();
    window->deleteLater();
}

QRectF BubbleWindow::bodyInWindow() const {
    return {static_cast<double>(shadowExtent), shadowExtent + arrow_.height, bodySize_.width, bodySize_.height};
}

QPoint BubbleWindow::topLeft() const {
    return (QPointF(place_.body.x, place_.body.y) - bodyInWindow().topLeft()).toPoint();
}

QPainterPath BubbleWindow::outline() const {
    return bubbleOutline(bodyInWindow(), description_->fCornerRadius(), arrow_, place_.arrow, place_.arrowTip);
}

void BubbleWindow::moveTo(const Place& place) {
    const Place before = std::exchange(place_, place);
    motion_.stop();
    if (canSlide_ && isVisible() && askedFor_ != topLeft()) {
        motion_.setStartValue(askedFor_);
        motion_.setEndValue(topLeft());
        motion_.start();
    } else {
        putAt(topLeft());
    }
    // Each bubble that closes moves all later ones up, and few of them change their look.
    if (shapedAtScale_ != devicePixelRatio() || before.arrow != place.arrow || before.arrowTip != place.arrowTip) {
        reshape();
        update();
    }
}

void BubbleWindow::standStill() {
    motion_.stop();
}

void BubbleWindow::putAt(const QPoint& topLeft) {
    askedFor_ = topLeft;
    move(topLeft);
    if (isLayer_) {
        platform::qt::placeLayerSurface(*windowHandle(), topLeft);
        // The compositor takes the place with the next picture.
        update();
    }
}

void BubbleWindow::reshape() {
    shapedAtScale_ = devicePixelRatio();
    const QRegion region(outline().toFillPolygon().toPolygon());
    if (isComposited_) {
        // Transparent parts should also let clicks through.
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
    if (!testAttribute(Qt::WA_DontShowOnScreen)) {
        inspection_ = std::make_unique<WindowInspection>(*this, askedFor_, handlers_.seen, handlers_.unseen);
    }
    fade(0, 1, seconds, std::move(then));
}

void BubbleWindow::fadeOut(double seconds, std::function<void()> then) {
    inspection_.reset();
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
        return;
    }
    if (description_->borderColor().alpha > 0) {
        painter.strokePath(shape, QPen(toolkitColor(description_->borderColor()), 1));
    }
    // Inside the edge, so that the bubble keeps its shape on a background as dark as itself.
    painter.setClipPath(shape);
    painter.strokePath(shape, QPen(innerOutlineColor, 2 * innerOutlineWidth));
}

void BubbleWindow::notifyAttention() {
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
    notifyAttention();
}

void BubbleWindow::leaveEvent(QEvent*) {
    isPointerInside_ = false;
    notifyAttention();
}

void BubbleWindow::acceptKeyboard(bool accepts) {
    if (isLayer_) {
        platform::qt::letLayerSurfaceTakeKeyboard(*windowHandle(), accepts);
    }
    windowHandle()->setFlag(Qt::WindowDoesNotAcceptFocus, !accepts);
    // The toolkit has overwritten these properties.
    markAsNotification(*windowHandle());
}

void BubbleWindow::takeFocus() {
    acceptKeyboard(true);
    activateWindow();
    if (focusWidget() == nullptr) {
        focusNextChild();
    }
}

void BubbleWindow::mousePressEvent(QMouseEvent*) {
    // A click on the background opts in to keyboard focus.
    acceptKeyboard(true);
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
    // The window manager passes on the user's wish; the bubble fades out first.
    event->ignore();
    dismiss();
}

void BubbleWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ActivationChange) {
        if (!isActiveWindow()) {
            acceptKeyboard(false);
        }
        notifyAttention();
    }
    QWidget::changeEvent(event);
}

}  // namespace uilib::qt
