#pragma once

#include "uilib/qt/BubblePlacement.h"
#include "uilib/qt/BubbleWindow.h"
#include "uilib/qt/DesktopTaste.h"
#include "uilib/qt/QtAuroraBubble.h"

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

class ScreenWatch;

/// The open bubbles, the one shown longest first: keeps them alive, and places those that are windows. While the
/// pointer or the keyboard focus is in any of them, the clocks and positions of the whole stack are frozen. Main
/// thread.
class BubbleStack final : public QtAuroraBubble::Owner {
public:
    /// `statusBar` outlives every bubble.
    explicit BubbleStack(const platform::qt::QtStatusBar& statusBar);
    ~BubbleStack() override;

    BubbleStack(const BubbleStack&) = delete;
    BubbleStack& operator=(const BubbleStack&) = delete;

    /// `handler` is called from the event loop one second after the last open bubble has closed, each time, even if
    /// another has opened meanwhile.
    void setAllGoneHandler(std::function<void()> handler);

    void add(std::shared_ptr<QtAuroraBubble> bubble) override;
    void remove(const QtAuroraBubble& bubble) override;
    void setAttended(const QtAuroraBubble& bubble, bool isAttended) override;

    /// Gives the keyboard focus to the newest bubble, if it is a window.
    void giveKeyboard();

    /// Asks the desktop for the preferred look of bubbles, and follows its changes from then on.
    void learnTaste();

    /// The look as far as it is known; asks the desktop if that has not been done yet.
    BubbleWindow::Taste taste() override;

    bool hasIconPlace(const QtAuroraBubble& bubble) const override;

    /// Puts every bubble in its current place, unless the stack is frozen, and each new one in the next free place. A
    /// bubble that is fading out stays there, and the next one takes its place.
    void arrange() override;

private:
    /// One place in the column.
    struct Slot {
        /// Null if it has closed while the stack is frozen.
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
    // Continues for a moment after the pointer or the keyboard focus has left.
    QTimer settling_;
    Surroundings surroundings_;
    AuroraArrowDescription arrow_;
    // The screen of a stack without an icon, as long as it has bubbles.
    QPointer<QScreen> screen_;
    std::unique_ptr<const DesktopTaste> taste_;
    // Exists only while a bubble is open.
    std::unique_ptr<ScreenWatch> screenWatch_;
    std::function<void()> allGone_;
};

}  // namespace uilib::qt
