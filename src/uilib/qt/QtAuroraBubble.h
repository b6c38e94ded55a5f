#pragma once

#include "platform/NotificationCenter.h"
#include "uilib/CAuroraBubble.h"
#include "uilib/qt/BubbleClock.h"
#include "uilib/qt/BubbleWindow.h"

#include <memory>

namespace uilib::qt {

class BubbleStack;

/// One bubble: fades in, is shown for its time, fades out, announces its closing. Reports to the stack that holds it
/// while it is open. Main thread.
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

    BubbleWindow& window() { return window_; }
    const std::shared_ptr<const CAuroraBubbleDescription>& description() const { return description_; }
    const platform::ui::Point& point() const { return point_; }
    const std::shared_ptr<platform::ui::View>& anchor() const { return anchor_; }

private:
    enum class Phase { made, shown, closing, closed };

    void startClock();
    void announceAndLeave();

    platform::NotificationCenter& center_;
    const std::shared_ptr<BubbleStack> stack_;
    const std::shared_ptr<const CAuroraBubbleDescription> description_;
    const std::shared_ptr<platform::ui::View> clientView_;
    const AuroraFadeRecord fade_;
    platform::ui::Point point_;
    std::shared_ptr<platform::ui::View> anchor_;
    Phase phase_ = Phase::made;
    BubbleClock clock_;
    BubbleWindow window_;
};

}  // namespace uilib::qt
