#include "uilib/qt/BubbleContent.h"

#include "platform/ui/ImageView.h"
#include "platform/ui/TextField.h"
#include "uilib/AuroraRoundedButton.h"

namespace uilib::qt {

namespace {

void gather(const std::shared_ptr<platform::ui::View>& view, BubbleContent& content) {
    if (const auto field = std::dynamic_pointer_cast<platform::ui::TextField>(view)) {
        content.text += (content.text.empty() ? "" : "\n") + field->attributedStringValue().string;
    } else if (const auto button = std::dynamic_pointer_cast<AuroraRoundedButton>(view)) {
        content.buttons.push_back({button->title().value_or(""), button});
    } else if (const auto image = std::dynamic_pointer_cast<platform::ui::ImageView>(view); image && image->image()) {
        content.picture = image->image();
    }
    for (const auto& subview : view->subviews()) {
        gather(subview, content);
    }
}

}  // namespace

BubbleContent contentOf(const CAuroraBubbleDescription& description, const std::shared_ptr<platform::ui::View>& view) {
    BubbleContent content;
    content.kind = description.kind();
    content.detail = view->toolTip();
    gather(view, content);
    return content;
}

}  // namespace uilib::qt
