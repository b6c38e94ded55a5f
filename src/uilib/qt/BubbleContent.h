#pragma once

#include "platform/ui/Control.h"
#include "platform/ui/Image.h"
#include "platform/ui/View.h"

#include <memory>
#include <string>
#include <vector>

namespace uilib::qt {

/// What a bubble says, apart from its drawing: for desktops that draw it in their own way.
struct BubbleContent {
    struct Button {
        std::string title;
        std::shared_ptr<const platform::ui::Control> control;
    };

    enum class Kind { news, success, failure };

    std::string text;
    /// The name of the file that the text is about; empty where there is none.
    std::string detail;
    /// The titled ones, in the view's order; the close button is the desktop's own affair.
    std::vector<Button> buttons;
    /// By the bubble's picture.
    Kind kind = Kind::news;
    /// Null where the bubble has none.
    std::shared_ptr<const platform::ui::Image> picture;
};

BubbleContent contentOf(const std::shared_ptr<platform::ui::View>& view);

}  // namespace uilib::qt
