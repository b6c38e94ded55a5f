#pragma once

#include "platform/ui/Geometry.h"
#include "platform/ui/View.h"
#include "uilib/CAuroraBubbleDescription.h"

#include <memory>

/// A bubble window that shows one view, at the view's frame size. The kit keeps a bubble that is on the screen alive
/// until it has closed. Main thread.
///
/// When a bubble closes, through `close`, its fade record or the user, the platform's notification center posts
/// `WindowWillCloseNotification` with the bubble as the object: once, on the main thread, and only after the call that
/// asked for the closing has returned.
class CAuroraBubble {
public:
    /// The option of `showAtAndBindInViewOption` that this application uses: below the point.
    static constexpr int hangBelow = 1;

    virtual ~CAuroraBubble() = default;

    /// Shows the bubble attached at `point` of `anchor`, in the anchor's own coordinates; never takes the keyboard
    /// focus. Without an anchor, or if its position on the screen is unknown, the kit chooses a place. `option` is a
    /// wish: the Qt kit hangs every bubble below the point, or above it where the icon is at the bottom.
    virtual void showAtAndBindInViewOption(const platform::ui::Point& point,
                                           const std::shared_ptr<platform::ui::View>& anchor, int option) = 0;

    /// The view that the bubble was created with.
    virtual std::shared_ptr<platform::ui::View> clientView() const = 0;

    /// Fades the bubble out and closes it. Does nothing if it is closing or closed already.
    virtual void close() = 0;
};

/// Creates the kit's bubbles.
class AuroraBubbleMaker {
public:
    virtual ~AuroraBubbleMaker() = default;

    /// A bubble, not yet shown, with the given look and content. Never null. Main thread.
    virtual std::shared_ptr<CAuroraBubble>
    makeBubbleWithDescriptionExternalClientView(std::shared_ptr<const CAuroraBubbleDescription> description,
                                                std::shared_ptr<platform::ui::View> clientView) = 0;
};
