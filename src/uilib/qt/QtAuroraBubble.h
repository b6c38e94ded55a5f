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

class BubbleStack;

/// One bubble: fades in, is shown for its time, fades out, announces its closing. Takes the best face that the session
/// supports (see BubbleFaces.h), and the next one if that face turns out not to be visible. Reports to the stack that
/// holds it while it is open. Main thread.
class QtAuroraBubble final : public CAuroraBubble, public std::enable_shared_from_this<QtAuroraBubble> {
public:
    /// `center` outlives every bubble.
    QtAuroraBubble(platform::NotificationCenter& center, std::shared_ptr<BubbleStack> stack,
                   std::shared_ptr<const CAuroraBubbleDescription> description,
                   std::shared_ptr<platform::ui::View> clientView);

    void showAtAndBindInViewOption(const platform::ui::Point& point, const std::shared_ptr<platform::ui::View>& anchor,
                                   int option) override;
    std::shared_ptr<platform::ui::View> clientView() const override { return clientView_; }
    void close() override;

    /// The time pauses while the screen is covered, so that no result passes unseen.
    void setScreenVisible(bool isVisible);

    /// The time pauses while the pointer or the keyboard focus is in any bubble of the stack.
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
    const std::shared_ptr<BubbleStack> stack_;
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
