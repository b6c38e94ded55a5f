#pragma once

#include "uilib/qt/BubblePlacement.h"

#include <memory>
#include <vector>

namespace platform::qt {
class QtStatusBar;
}

namespace uilib::qt {

class QtAuroraBubble;

/// The bubbles on the screen, the longest shown first: keeps them alive and in their places. Main thread.
class BubbleStack final {
public:
    /// `statusBar` outlives every bubble.
    explicit BubbleStack(const platform::qt::QtStatusBar& statusBar) : statusBar_(statusBar) {}

    void add(std::shared_ptr<QtAuroraBubble> bubble);
    void remove(const QtAuroraBubble& bubble);

    /// Puts every bubble where it belongs now.
    void arrange();

private:
    Surroundings surroundings() const;

    const platform::qt::QtStatusBar& statusBar_;
    std::vector<std::shared_ptr<QtAuroraBubble>> bubbles_;
};

}  // namespace uilib::qt
