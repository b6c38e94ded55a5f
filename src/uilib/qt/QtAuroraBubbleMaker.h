#pragma once

#include "uilib/CAuroraBubble.h"

#include <functional>
#include <memory>

namespace platform {
class NotificationCenter;
}
namespace platform::qt {
class QtStatusBar;
}

namespace uilib::qt {

class BubbleStack;

/// Bubbles as windows below the status icon. Needs the application object. Nothing wakes up while no bubble is open.
class QtAuroraBubbleMaker final : public AuroraBubbleMaker {
public:
    /// Both outlive every bubble. Takes the status bar's items-moved and activated handlers.
    QtAuroraBubbleMaker(platform::NotificationCenter& center, platform::qt::QtStatusBar& statusBar);
    ~QtAuroraBubbleMaker() override;

    /// Asks the desktop for the preferred look of bubbles. The reply takes a moment; a bubble created before it has
    /// arrived has the default look.
    void prepare();

    /// `handler` is called from the event loop one second after the last open bubble has closed and its window and
    /// images are destroyed, each time, even if another has opened meanwhile.
    void setAllGoneHandler(std::function<void()> handler);

    std::shared_ptr<CAuroraBubble>
    makeBubbleWithDescriptionExternalClientView(std::shared_ptr<const CAuroraBubbleDescription> description,
                                                std::shared_ptr<platform::ui::View> clientView) override;

private:
    platform::NotificationCenter& center_;
    platform::qt::QtStatusBar& statusBar_;
    const std::shared_ptr<BubbleStack> stack_;
};

}  // namespace uilib::qt
