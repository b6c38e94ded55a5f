#include "uilib/qt/WindowInspection.h"

#include "uilib/qt/X11Window.h"

#include <QEvent>
#include <QWidget>
#include <QWindow>
#include <chrono>
#include <utility>

namespace uilib::qt {

namespace {

// A busy desktop needs time to show a window, and a moment more to put it in its final place.
constexpr std::chrono::milliseconds showingPatience{3000};
constexpr std::chrono::milliseconds settlingTime{300};
// Window managers round positions, and keep a window's shadow on the screen.
constexpr int farthestOff = 32;

}  // namespace

WindowInspection::WindowInspection(const QWidget& window, const QPoint& place, std::function<void()> seen,
                                   std::function<void(const std::string&)> unseen)
    : window_(window), place_(place), size_(window.size()), seen_(std::move(seen)), unseen_(std::move(unseen)) {
    window_.windowHandle()->installEventFilter(this);
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &WindowInspection::inspect);
    wait();
}

void WindowInspection::wait() {
    wasExposed_ = window_.windowHandle()->isExposed();
    timer_.start(wasExposed_ ? settlingTime : showingPatience);
}

bool WindowInspection::eventFilter(QObject* watched, QEvent* event) {
    // A desktop that redraws the window over and over must not delay the check.
    if (event->type() == QEvent::Expose && (!timer_.isActive() || window_.windowHandle()->isExposed() != wasExposed_)) {
        wait();
    }
    return QObject::eventFilter(watched, event);
}

void WindowInspection::inspect() {
    // Copies, because either handler may destroy this object.
    if (const auto fault = faultOfDesktop(); !fault.empty()) {
        if (const auto unseen = unseen_) {
            unseen(fault);
        }
    } else if (const auto seen = std::exchange(seen_, nullptr)) {
        seen();
    }
}

std::string WindowInspection::faultOfDesktop() const {
    if (!window_.windowHandle()->isExposed() || isHiddenByWindowManager(*window_.windowHandle())) {
        return "the desktop hides the window";
    }
    if ((window_.pos() - place_).manhattanLength() > farthestOff) {
        return "the desktop puts the window elsewhere";
    }
    return window_.size() == size_ ? "" : "the desktop gives the window another size";
}

}  // namespace uilib::qt
