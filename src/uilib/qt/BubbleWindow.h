#pragma once

#include "platform/ui/View.h"
#include "uilib/CAuroraBubbleDescription.h"
#include "uilib/qt/BubblePlacement.h"

#include <QPainterPath>
#include <QVariantAnimation>
#include <QWidget>
#include <functional>
#include <memory>

namespace uilib::qt {

/// The window of one bubble: draws body, arrow and shadow around the widgets of the client view. Never takes the
/// keyboard by itself; a click on its bare body gives it. Main thread.
class BubbleWindow final : public QWidget {
public:
    struct Handlers {
        /// The pointer or the keyboard came to the bubble (true) or left it (false).
        std::function<void(bool)> attended;
        /// The user asked for the bubble to go.
        std::function<void()> dismissed;
    };

    /// Lets go of a window, perhaps from inside one of its own events: nothing is handled any more, and the window ends
    /// with a later turn of the loop.
    struct Retirement {
        void operator()(BubbleWindow* window) const;
    };

    /// What the user has asked of every program.
    struct Taste {
        bool lessMotion = false;
        bool moreContrast = false;
    };

    BubbleWindow(std::shared_ptr<const CAuroraBubbleDescription> description,
                 const std::shared_ptr<platform::ui::View>& clientView, const Taste& taste, Handlers handlers);

    Size bodySize() const { return bodySize_; }

    /// Moves the body there; also while the window is shown.
    void moveTo(const Place& place);

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
    QPainterPath outline() const;
    void fade(double from, double to, double seconds, std::function<void()> then);
    void reshape();
    void tellAttention();
    void dismiss();

    const std::shared_ptr<const CAuroraBubbleDescription> description_;
    const std::shared_ptr<platform::ui::View> clientView_;
    Handlers handlers_;
    const Size bodySize_;
    const AuroraArrowRecord arrow_;
    const bool isComposited_;
    const bool canFade_;
    const bool hasEdge_;
    Place place_;
    /// Pixels a point; 0 where it has no shape yet.
    double shapedAtScale_ = 0;
    QVariantAnimation animation_;
    bool isPointerInside_ = false;
    bool isAttended_ = false;
};

}  // namespace uilib::qt
