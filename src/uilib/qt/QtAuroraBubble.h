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
/// offers (see BubbleFaces.h), and the next one when that face turns out not to be seen. Reports to the stack that
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

    /// No result is shown to an empty chair: the time stands still while the screen is covered.
    void setScreenVisible(bool isVisible);

    /// Nothing changes under the user's finger: the time stands still while any bubble of the stack is attended.
    void setStackAttended(bool isAttended);

    /// Moves the window there; the first time shows it. Only with a window.
    void takePlace(const Place& place);

    /// Null while the bubble has none.
    BubbleWindow* window() { return window_.get(); }

    /// On its way out: its place is free for another.
    bool isLeaving() const { return phase_ == Phase::closing || phase_ == Phase::closed; }

    const std::shared_ptr<const CAuroraBubbleDescription>& description() const { return description_; }
    const platform::ui::Point& point() const { return point_; }
    const std::shared_ptr<platform::ui::View>& anchor() const { return anchor_; }

private:
    enum class Phase { made, shown, closing, closed };

    void takeNextFace(const std::string& reason);
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
