#include "uilib/qt/QtAuroraBubble.h"

#include "platform/SystemLog.h"

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

bool isOffScreen() {
    return QGuiApplication::platformName() == QLatin1String("offscreen");
}

void log(const std::string& text, platform::Severity severity = platform::Severity::notice) {
    platform::SystemLog::standard().write(text, severity);
}

}  // namespace

QtAuroraBubble::QtAuroraBubble(platform::NotificationCenter& center, std::shared_ptr<Owner> owner,
                               std::shared_ptr<const CAuroraBubbleDescription> description,
                               std::shared_ptr<platform::ui::View> clientView)
    : center_(center),
      owner_(std::move(owner)),
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
    owner_->add(shared_from_this());
    facesLeft_ = facesFor(currentSession());
    switchToNextFace("no window can be placed here");
}

void QtAuroraBubble::switchToNextFace(const std::string& reason) {
    const auto face = facesLeft_.front();
    facesLeft_.erase(facesLeft_.begin());
    switch (face) {
    case BubbleFace::window:
        return showAsWindow(BubbleWindow::Host::desktop, reason);
    case BubbleFace::notification:
        return showAsNotification(reason);
    case BubbleFace::unmanagedWindow:
        return showAsWindow(BubbleWindow::Host::none, reason);
    case BubbleFace::sentence:
        return showAsSentence();
    }
}

void QtAuroraBubble::showAsWindow(BubbleWindow::Host host, const std::string& reason) {
    BubbleWindow::Handlers handlers;
    handlers.attended = [this](bool isAttended) { owner_->setAttended(*this, isAttended); };
    handlers.dismissed = [this] { close(); };
    handlers.seen = [this, host, reason] { logWindow(host, reason); };
    handlers.unseen = [this](const std::string& fault) {
        if (phase_ == Phase::shown) {
            clock_.stop();
            window_.reset();
            owner_->setAttended(*this, false);
            owner_->arrange();
            switchToNextFace(fault);
        }
    };
    window_.reset(new BubbleWindow(description_, clientView_, owner_->taste(), host, std::move(handlers)));
    owner_->arrange();
}

void QtAuroraBubble::moveTo(const Place& place) {
    window_->moveTo(place);
    if (!window_->isVisible()) {
        window_->fadeIn(fade_.fadeIn, [this] { startClock(); });
    }
}

void QtAuroraBubble::logWindow(BubbleWindow::Host host, const std::string& reason) const {
    const std::string place = owner_->hasIconPlace(*this)
                                  ? " at the status icon"
                                  : " in the corner of the screen: the position of the status icon is unknown";
    const std::string manner = host == BubbleWindow::Host::none ? "; the window manager is left out: " + reason : "";
    log("bubble shown as a window" + place + manner);
}

void QtAuroraBubble::showAsNotification(const std::string& reason) {
    DesktopNotification::Handlers handlers;
    handlers.shown = [this, reason] {
        log("bubble shown as a desktop notification: " + reason);
        startClock();
    };
    handlers.refused = [this](const std::string& fault) {
        if (phase_ == Phase::shown) {
            switchToNextFace(fault);
        }
    };
    handlers.heldBack = [this](bool isHeldBack) {
        // Its time starts once it is shown at last.
        clock_.stop();
        isHeldBack_ = isHeldBack;
        hold();
        startClock();
    };
    handlers.closed = [this] { leaveSoon(); };
    notification_ = std::make_unique<DesktopNotification>(contentOf(*description_, clientView_),
                                                          milliseconds(fade_.shown), std::move(handlers));
}

void QtAuroraBubble::showAsSentence() {
    log(contentOf(*description_, clientView_).text,
        description_->kind() == AuroraBubbleKind::failure ? platform::Severity::error : platform::Severity::notice);
    if (isOffScreen()) {
        // Invisible, but it takes its time like any other bubble.
        showAsWindow(BubbleWindow::Host::desktop, {});
    } else {
        leaveSoon();
    }
}

void QtAuroraBubble::startClock() {
    if (phase_ == Phase::shown && description_->bFade()) {
        clock_.start(milliseconds(fade_.shown));
    }
}

void QtAuroraBubble::timeIsUp() {
    if (!window_ && notification_) {
        notification_->leaveToDesktop();
    }
    close();
}

void QtAuroraBubble::setScreenVisible(bool isVisible) {
    isScreenVisible_ = isVisible;
    hold();
}

void QtAuroraBubble::setStackAttended(bool isAttended) {
    isStackAttended_ = isAttended;
    if (window_ && isAttended) {
        window_->standStill();
    }
    hold();
}

void QtAuroraBubble::hold() {
    clock_.setHeld(isStackAttended_ || isHeldBack_ || !isScreenVisible_);
}

void QtAuroraBubble::close() {
    if (phase_ != Phase::shown) {
        return;
    }
    if (window_) {
        phase_ = Phase::closing;
        clock_.stop();
        owner_->arrange();
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
    // Only after the call that asked for it has returned.
    QTimer::singleShot(0, qApp, [self = shared_from_this()] { self->announceAndLeave(); });
}

void QtAuroraBubble::announceAndLeave() {
    phase_ = Phase::closed;
    // The owner may hold the last reference to this object.
    const auto keptForThisCall = shared_from_this();
    center_.post({platform::WindowWillCloseNotification, static_cast<const CAuroraBubble*>(this)});
    owner_->remove(*this);
}

}  // namespace uilib::qt
