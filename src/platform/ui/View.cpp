#include "platform/ui/View.h"

#include <utility>

namespace platform::ui {

View::View(const Rect& frame) : frame_(frame) {}

void View::setFrameSize(const Size& size) {
    frame_.width = size.width;
    frame_.height = size.height;
}

void View::addSubview(std::shared_ptr<View> view) {
    subviews_.push_back(std::move(view));
}

}  // namespace platform::ui
