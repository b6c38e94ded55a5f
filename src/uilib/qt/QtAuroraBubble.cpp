#include "uilib/qt/QtAuroraBubble.h"

#include "platform/SystemLog.h"
#include "uilib/qt/BubbleStack.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QTimer>
#include <chrono>
#include <utility>

namespace uilib::qt {

namespace {

AuroraFadeRecord fadeOf(const CAuroraBubbleDescription& description) {
    return description.bFade() && description.fadeDescription() ? *description.fadeDescription() : AuroraFadeRecord();
}

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

bool canPlaceWindows() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

bool isOffScreen() {
    return QGuiApplication::platformName() == QLatin1String("offscreen");
}

void log(const std::string& text) {
    platform::SystemLog::standard().write(text);
}

}  // namespace

QtAuroraBubble::QtAuroraBubble(platform::NotificationCenter& center, std::shared_ptr<BubbleStack> stack,
                               std::shared_ptr<const CAuroraBubbleDescription> description,
                               std::shared_ptr<platform::ui::View> clientView)
    : center_(center),
      stack_(std::move(stack)),
      description_(std::move(description)),
      clientView_(std::move(clientView)),
      fade_(fadeOf(*description_)),
      clock_([this] { timeIsUp(); }) {}

void QtAuroraBubble::showAtAndBindInViewOption(const platform::ui::Point& point,
                                               const std::shared_ptr<platform::ui::View>& anchor, int) {
    if (phase_ != Phase::made) {
        return;
    }
    phase_ = Phase::shown;
    point_ = point;
    anchor_ = anchor;
    stack_->add(shared_from_this());
    if (canPlaceWindows()) {
        showAsWindow();
        log(stack_->hasIconPlace(*this)
                ? "bubble shown as a window at the status icon"
                : "bubble shown as a window in the screen's corner: nobody tells where the status icon is");
    } else {
        showAsNotification();
    }
}

void QtAuroraBubble::showAsWindow() {
    BubbleWindow::Handlers handlers;
    handlers.attended = [this](bool isAttended) {
        isAttended_ = isAttended;
        hold();
    };
    handlers.dismissed = [this] { close(); };
    window_.reset(new BubbleWindow(description_, clientView_, stack_->taste(), std::move(handlers)));
    stack_->arrange();
    window_->fadeIn(fade_.fadeIn, [this] { startClock(); });
}

void QtAuroraBubble::showAsNotification() {
    auto content = contentOf(clientView_);
    const auto text = content.text;
    DesktopNotification::Handlers handlers;
    handlers.shown = [this] {
        log("bubble shown as a desktop notification: no window can be placed here");
        startClock();
    };
    handlers.refused = [this, text](const std::string& reason) {
        if (isOffScreen()) {
            log(text);
        } else {
            log("bubble shown as a window where the desktop puts it: " + reason);
        }
        if (phase_ == Phase::shown) {
            showAsWindow();
        }
    };
    handlers.closed = [this] { leaveSoon(); };
    notification_ =
        std::make_unique<DesktopNotification>(std::move(content), milliseconds(fade_.shown), std::move(handlers));
}

void QtAuroraBubble::startClock() {
    if (phase_ == Phase::shown && description_->bFade()) {
        clock_.start(milliseconds(fade_.shown));
    }
}

void QtAuroraBubble::timeIsUp() {
    if (!window_ && notification_) {
        notification_->letGo();
    }
    close();
}

void QtAuroraBubble::setScreenVisible(bool isVisible) {
    isScreenVisible_ = isVisible;
    hold();
}

void QtAuroraBubble::hold() {
    clock_.setHeld(isAttended_ || !isScreenVisible_);
}

void QtAuroraBubble::close() {
    if (phase_ != Phase::shown) {
        return;
    }
    if (window_) {
        phase_ = Phase::closing;
        clock_.stop();
        stack_->arrange();
        window_->fadeOut(fade_.fadeOut, [this] { announceAndLeave(); });
        return;
    }
    if (notification_) {
        notification_->close();
    }
    leaveSoon();
}

void QtAuroraBubble::leaveSoon() {
    if (phase_ != Phase::shown) {
        return;
    }
    phase_ = Phase::closing;
    clock_.stop();
    // Only after the call that asked has returned.
    QTimer::singleShot(0, qApp, [self = shared_from_this()] { self->announceAndLeave(); });
}

void QtAuroraBubble::announceAndLeave() {
    phase_ = Phase::closed;
    // The stack's may be the last hold on this object.
    const auto keptForThisCall = shared_from_this();
    center_.post({platform::WindowWillCloseNotification, static_cast<const CAuroraBubble*>(this)});
    stack_->remove(*this);
}

}  // namespace uilib::qt
