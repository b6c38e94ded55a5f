#pragma once

#include "platform/ui/View.h"
#include "uilib/CAuroraBubbleDescription.h"
#include "uilib/qt/BubblePlacement.h"
#include "uilib/qt/WindowInspection.h"

#include <QPainterPath>
#include <QVariantAnimation>
#include <QWidget>
#include <functional>
#include <memory>
#include <string>

namespace uilib::qt {

/// The window of one bubble: draws body, arrow and shadow around the widgets of the client view. Screen readers
/// announce it as a notification. Never takes the keyboard focus itself; a click on its background gives it the focus.
/// Main thread.
class BubbleWindow final : public QWidget {
    Q_OBJECT

public:
    struct Handlers {
        /// The pointer or the keyboard focus has entered the bubble (true) or left it (false).
        std::function<void(bool)> attended;
        /// The user has dismissed the bubble.
        std::function<void()> dismissed;
        /// The window is on the screen, where it belongs; once.
        std::function<void()> seen;
        /// The desktop does not show the window where it belongs, for this reason. Off-screen, neither is called.
        std::function<void(const std::string& reason)> unseen;
    };

    /// What shows the window and keeps it above others.
    enum class Host {
        desktop,
        /// Nothing: on X11 the window bypasses the window manager.
        none,
    };

    /// Releases a window, possibly from inside one of its own events: it handles no further events, and a later turn of
    /// the event loop destroys it.
    struct Retirement {
        void operator()(BubbleWindow* window) const;
    };

    /// Preferences that the user has set for all programs.
    struct Taste {
        bool lessMotion = false;
        bool moreContrast = false;
    };

    BubbleWindow(std::shared_ptr<const CAuroraBubbleDescription> description,
                 const std::shared_ptr<platform::ui::View>& clientView, const Taste& taste, Host host,
                 Handlers handlers);

    Size bodySize() const { return bodySize_; }

    /// Moves the body there; animated if the window is shown, unless the user prefers reduced motion.
    void moveTo(const Place& place);

    /// Stops a move in progress at its current position.
    void standStill();

    /// Takes the keyboard focus from the window that has it, and puts it on the first button. Only while the window is
    /// shown.
    void takeFocus();

    /// Shows the window and fades it in, or fades it out and hides it; `then` runs when that is done, never from inside
    /// the call.
    void fadeIn(double seconds, std::function<void()> then);
    void fadeOut(double seconds, std::function<void()> then);

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QRectF bodyInWindow() const;
    QPoint topLeft() const;
    void putAt(const QPoint& topLeft);
    QPainterPath outline() const;
    void fade(double from, double to, double seconds, std::function<void()> then);
    void reshape();
    void acceptKeyboard(bool accepts);
    void notifyAttention();
    void dismiss();

    const std::shared_ptr<const CAuroraBubbleDescription> description_;
    const std::shared_ptr<platform::ui::View> clientView_;
    Handlers handlers_;
    const Size bodySize_;
    const AuroraArrowRecord arrow_;
    const bool isComposited_;
    const bool canFade_;
    const bool canSlide_;
    const bool hasEdge_;
    const bool isLayer_;
    Place place_;
    QPoint askedFor_;
    /// Pixels per point; 0 if it has no shape yet.
    double shapedAtScale_ = 0;
    QVariantAnimation animation_;
    QVariantAnimation motion_;
    // While the window is shown.
    std::unique_ptr<WindowInspection> inspection_;
    bool isPointerInside_ = false;
    bool isAttended_ = false;
};

}  // namespace uilib::qt
