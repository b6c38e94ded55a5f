#pragma once

#include "platform/StatusBar.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace platform::qt {

/// The desktop's status area: a StatusNotifierItem where the desktop has a host for it, an XEMBED icon where X11 has a
/// tray, nothing where there is neither; it follows them as they come and go. Needs the application object.
class QtStatusBar final : public StatusBar {
public:
    QtStatusBar();
    ~QtStatusBar() override;

    std::shared_ptr<StatusItem> statusItemWithLength(double length) override;

    /// Where the item that shows `view` stands on the desktop now: x and y are its top left corner, y growing downward.
    /// Absent when `view` is in no item, or its place can't be known.
    std::optional<ui::Rect> desktopFrameOf(const ui::View& view) const;

    /// What the items say while the pointer rests on them, besides the application's name; lines of plain text.
    void setToolTip(const std::string& text);

    /// Calls `moved` whenever the place of an item may have changed; an empty function ends that.
    void setItemsMovedHandler(std::function<void()> moved);

    /// Calls `activated` when the user presses an item; an empty function ends that.
    void setActivatedHandler(std::function<void()> activated);

private:
    class Item;
    struct Items;
    const std::shared_ptr<Items> items_;
};

}  // namespace platform::qt
