#pragma once

#include "platform/ui/Control.h"
#include "platform/ui/Image.h"
#include "platform/ui/View.h"
#include "uilib/CAuroraBubbleDescription.h"

#include <memory>
#include <string>
#include <vector>

namespace uilib::qt {

/// The content of a bubble without its drawing, for desktops that draw it in their own way.
struct BubbleContent {
    struct Button {
        std::string title;
        std::shared_ptr<const platform::ui::Control> control;
    };

    std::string text;
    /// The name of the file that the text refers to; empty if there is none.
    std::string detail;
    /// The buttons with a title, in the view's order; the desktop provides its own close button.
    std::vector<Button> buttons;
    AuroraBubbleKind kind = AuroraBubbleKind::news;
    /// Null if the bubble has none.
    std::shared_ptr<const platform::ui::Image> picture;
};

BubbleContent contentOf(const CAuroraBubbleDescription& description, const std::shared_ptr<platform::ui::View>& view);

}  // namespace uilib::qt
