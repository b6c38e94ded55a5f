#pragma once

#include "uilib/qt/BubblePlacement.h"
#include "uilib/qt/BubbleWindow.h"
#include "uilib/qt/DesktopTaste.h"

#include <functional>
#include <memory>
#include <vector>

namespace platform::qt {
class QtStatusBar;
}

namespace uilib::qt {

class QtAuroraBubble;
class ScreenWatch;

/// The open bubbles, the longest shown first: keeps them alive, and those that are windows in their places. Main
/// thread.
class BubbleStack final {
public:
    /// `statusBar` outlives every bubble.
    explicit BubbleStack(const platform::qt::QtStatusBar& statusBar);
    ~BubbleStack();

    BubbleStack(const BubbleStack&) = delete;
    BubbleStack& operator=(const BubbleStack&) = delete;

    /// `handler` is called from the event loop a second after the last open bubble has gone, each time, also where the
    /// next has come meanwhile.
    void setAllGoneHandler(std::function<void()> handler);

    void add(std::shared_ptr<QtAuroraBubble> bubble);
    void remove(const QtAuroraBubble& bubble);

    /// Asks the desktop how bubbles are to look, and from then on follows its answer.
    void learnTaste();

    /// What is known of it; asks where nothing has been asked yet.
    BubbleWindow::Taste taste();

    /// Whether it is known where the icon stands that the bubble hangs from.
    bool hasIconPlace(const QtAuroraBubble& bubble) const;

    /// Puts every bubble where it belongs now. One that is leaving stays where it fades, and the next takes its place.
    void arrange();

private:
    Surroundings surroundings(const QtAuroraBubble& first) const;

    const platform::qt::QtStatusBar& statusBar_;
    std::vector<std::shared_ptr<QtAuroraBubble>> bubbles_;
    std::unique_ptr<const DesktopTaste> taste_;
    // Only while a bubble is open.
    std::unique_ptr<ScreenWatch> screenWatch_;
    std::function<void()> allGone_;
};

}  // namespace uilib::qt
