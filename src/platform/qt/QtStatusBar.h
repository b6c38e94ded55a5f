#pragma once

#include "platform/StatusBar.h"
#include "platform/qt/StatusMenuEntry.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform::qt {

/// The desktop's status area: a StatusNotifierItem if the desktop has a host for it, an XEMBED icon if X11 has a tray,
/// otherwise nothing; it adapts when hosts and trays appear or disappear. Needs the application object.
class QtStatusBar final : public StatusBar {
public:
    QtStatusBar();
    ~QtStatusBar() override;

    std::shared_ptr<StatusItem> statusItemWithLength(double length) override;

    /// The current frame, on the desktop, of the item that shows `view`: x and y are its top left corner, y growing
    /// downward. Absent if no item shows `view`, or its position is unknown.
    std::optional<ui::Rect> desktopFrameOf(const ui::View& view) const;

    /// Sets the items' tooltip, which is shown in addition to the application's name; lines of plain text.
    void setToolTip(const std::string& text);

    /// Sets what the items' menu offers below the application's name. The panel draws the menu where it can, else the
    /// toolkit does, on X11. A menu that the toolkit has opened stays as it is.
    void setMenu(std::vector<StatusMenuEntry> entries);

    /// Calls `moved` whenever the frame of an item may have changed; an empty function stops that.
    void setItemsMovedHandler(std::function<void()> moved);

    /// Calls `activated` when the user presses an item; an empty function stops that.
    void setActivatedHandler(std::function<void()> activated);

private:
    class Item;
    struct Items;
    const std::shared_ptr<Items> items_;
};

}  // namespace platform::qt
