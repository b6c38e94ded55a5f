#pragma once

#include "platform/ui/View.h"

#include <memory>

namespace platform {

/// An icon of this application in the desktop's status area. Main thread.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    /// The view that the item shows; bubbles are attached to it. Null until one is set.
    virtual std::shared_ptr<ui::View> view() const = 0;
    virtual void setView(std::shared_ptr<ui::View> view) = 0;

    /// Whether the item is drawn highlighted while it is pressed, where that is not the desktop's decision.
    virtual void setHighlightMode(bool highlights) = 0;
};

/// The desktop's status area. If there is none, items can still be created and show nothing. Main thread.
class StatusBar {
public:
    /// The item takes the width of its view.
    static constexpr double variableLength = -1;

    virtual ~StatusBar() = default;

    /// A new item; `length` is its width in points, or `variableLength`. Never null.
    virtual std::shared_ptr<StatusItem> statusItemWithLength(double length) = 0;
};

}  // namespace platform
