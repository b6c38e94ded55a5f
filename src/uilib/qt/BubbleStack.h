#pragma once

#include "uilib/qt/BubblePlacement.h"
#include "uilib/qt/BubbleWindow.h"
#include "uilib/qt/DesktopTaste.h"

#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace platform::qt {
class QtStatusBar;
}

namespace uilib::qt {

class QtAuroraBubble;
class ScreenWatch;

/// The open bubbles, the longest shown first: keeps them alive, and those that are windows in their places. While the
/// pointer or the keyboard is in any of them, the whole stack stands still, clocks and positions. Main thread.
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

    /// The pointer or the keyboard came to the bubble (true) or left it (false).
    void setAttended(const QtAuroraBubble& bubble, bool isAttended);

    /// Gives the keyboard to the bubble that came last, if it is a window.
    void giveKeyboard();

    /// Asks the desktop how bubbles are to look, and from then on follows its answer.
    void learnTaste();

    /// What is known of it; asks where nothing has been asked yet.
    BubbleWindow::Taste taste();

    /// Whether it is known where the icon stands that the bubble hangs from.
    bool hasIconPlace(const QtAuroraBubble& bubble) const;

    /// Puts every bubble where it belongs now, if the stack need not stand still, and each new one into the next free
    /// place. One that is leaving stays where it fades, and the next takes its place.
    void arrange();

private:
    /// One place in the column.
    struct Slot {
        /// Null when it has gone and the stack stands still.
        const QtAuroraBubble* bubble;
        Size body;
    };

    bool standsStill() const;
    void updateSlots();
    Surroundings surroundings(const QtAuroraBubble& first);
    Surroundings withoutIcon();

    const platform::qt::QtStatusBar& statusBar_;
    std::vector<std::shared_ptr<QtAuroraBubble>> bubbles_;
    std::vector<Slot> slots_;
    std::set<const QtAuroraBubble*> attended_;
    // Runs on for a moment after the pointer or the keyboard has left.
    QTimer settling_;
    Surroundings surroundings_;
    AuroraArrowDescription arrow_;
    // Where the stack stands without an icon, as long as it has bubbles.
    QPointer<QScreen> screen_;
    std::unique_ptr<const DesktopTaste> taste_;
    // Only while a bubble is open.
    std::unique_ptr<ScreenWatch> screenWatch_;
    std::function<void()> allGone_;
};

}  // namespace uilib::qt
