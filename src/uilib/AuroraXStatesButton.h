#pragma once

#include "platform/ui/Control.h"
#include "platform/ui/Image.h"

#include <map>
#include <memory>
#include <utility>

/// The states of an image button, with the codes under which images are set.
enum class AuroraButtonState { disabled = 0, normal = 1, hover = 2, focused = 3, pressed = 4 };

enum class AuroraImagePosition { imageOverlaps = 6 };

/// A push button that shows one image per state. Passive: the kit's provider draws it and reports its presses.
class AuroraXStatesButton final : public platform::ui::Control {
public:
    using Control::Control;

    /// A wish: these buttons have no title, so the image is all that is drawn.
    AuroraImagePosition imagePosition() const { return imagePosition_; }
    void setImagePosition(AuroraImagePosition position) { imagePosition_ = position; }

    /// Null if none was set for the state; the state then shows nothing.
    std::shared_ptr<const platform::ui::Image> buttonImage(AuroraButtonState state) const {
        const auto found = images_.find(state);
        return found == images_.end() ? nullptr : found->second;
    }
    void setButtonImage(std::shared_ptr<const platform::ui::Image> image, AuroraButtonState state) {
        images_[state] = std::move(image);
    }

private:
    AuroraImagePosition imagePosition_ = AuroraImagePosition::imageOverlaps;
    std::map<AuroraButtonState, std::shared_ptr<const platform::ui::Image>> images_;
};
