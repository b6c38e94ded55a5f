#pragma once

#include "platform/NotificationCenter.h"
#include "uilib/CAuroraBubble.h"
#include "uilib/qt/BubbleClock.h"
#include "uilib/qt/BubbleFaces.h"
#include "uilib/qt/BubbleWindow.h"
#include "uilib/qt/DesktopNotification.h"

#include <memory>
#include <string>
#include <vector>

namespace uilib::qt {

/// One bubble: fades in, is shown for its time, fades out, announces its closing. Takes the best face that the session
/// supports (see BubbleFaces.h), and the next one if that face turns out not to be visible. Main thread.
class QtAuroraBubble final : public CAuroraBubble, public std::enable_shared_from_this<QtAuroraBubble> {
public:
    /// Holds the bubble while it is open, and places it. Main thread.
    class Owner {
    public:
        virtual ~Owner() = default;

        /// Keeps the bubble alive until `remove`.
        virtual void add(std::shared_ptr<QtAuroraBubble> bubble) = 0;

        /// The bubble has closed.
        virtual void remove(const QtAuroraBubble& bubble) = 0;

        /// The pointer or the keyboard focus has entered the bubble (true) or left it (false).
        virtual void setAttended(const QtAuroraBubble& bubble, bool isAttended) = 0;

        /// Moves the bubbles to their places after one of them has gained or lost its window, or is leaving.
        virtual void arrange() = 0;

        /// The look of a new window.
        virtual BubbleWindow::Taste taste() = 0;

        /// Whether the position of the icon that the bubble is attached to is known.
        virtual bool hasIconPlace(const QtAuroraBubble& bubble) const = 0;
    };

    /// `center` outlives every bubble.
    QtAuroraBubble(platform::NotificationCenter& center, std::shared_ptr<Owner> owner,
                   std::shared_ptr<const CAuroraBubbleDescription> description,
                   std::shared_ptr<platform::ui::View> clientView);

    void showAtAndBindInViewOption(const platform::ui::Point& point, const std::shared_ptr<platform::ui::View>& anchor,
                                   int option) override;
    std::shared_ptr<platform::ui::View> clientView() const override { return clientView_; }
    void close() override;

    /// The time pauses while the screen is covered, so that no result passes unseen.
    void setScreenVisible(bool isVisible);

    /// The time pauses while the pointer or the keyboard focus is in any open bubble.
    void setStackAttended(bool isAttended);

    /// Moves the window there; the first call shows it. Only if the bubble has a window.
    void moveTo(const Place& place);

    /// Null if the bubble has none.
    BubbleWindow* window() { return window_.get(); }

    /// Fading out or closed: its place is free for another.
    bool isLeaving() const { return phase_ == Phase::closing || phase_ == Phase::closed; }

    const std::shared_ptr<const CAuroraBubbleDescription>& description() const { return description_; }
    const platform::ui::Point& point() const { return point_; }
    const std::shared_ptr<platform::ui::View>& anchor() const { return anchor_; }

private:
    enum class Phase { made, shown, closing, closed };

    void switchToNextFace(const std::string& reason);
    void showAsWindow(BubbleWindow::Host host, const std::string& reason);
    void showAsNotification(const std::string& reason);
    void showAsSentence();
    void logWindow(BubbleWindow::Host host, const std::string& reason) const;
    void startClock();
    void timeIsUp();
    void hold();
    void leaveSoon();
    void announceAndLeave();

    platform::NotificationCenter& center_;
    const std::shared_ptr<Owner> owner_;
    const std::shared_ptr<const CAuroraBubbleDescription> description_;
    const std::shared_ptr<platform::ui::View> clientView_;
    const AuroraFadeRecord fade_;
    platform::ui::Point point_;
    std::shared_ptr<platform::ui::View> anchor_;
    Phase phase_ = Phase::made;
    std::vector<BubbleFace> facesLeft_;
    bool isStackAttended_ = false;
    bool isHeldBack_ = false;
    bool isScreenVisible_ = true;
    BubbleClock clock_;
    std::unique_ptr<BubbleWindow, BubbleWindow::Retirement> window_;
    std::unique_ptr<DesktopNotification> notification_;
};

}  // namespace uilib::qt
