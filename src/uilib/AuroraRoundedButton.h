#pragma once

#include "platform/ui/Control.h"
#include "platform/ui/Font.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

enum class AuroraTextAlignment { left = 0, right = 1, center = 2 };

/// A rounded push button with a title. Passive: the kit's provider draws it and reports its presses.
class AuroraRoundedButton final : public platform::ui::Control {
public:
    using Control::Control;

    /// If absent, there is no title.
    const std::optional<std::string>& title() const { return title_; }
    void setTitle(std::optional<std::string> title) { title_ = std::move(title); }

    const platform::ui::Font& font() const { return font_; }
    void setFont(platform::ui::Font font) { font_ = std::move(font); }

    /// The button's look; 5 is the bubble's light-on-dark one, and all others are drawn like it.
    std::int32_t buttonType() const { return buttonType_; }
    void setButtonType(std::int32_t type) { buttonType_ = type; }

    AuroraTextAlignment alignment() const { return alignment_; }
    void setAlignment(AuroraTextAlignment alignment) { alignment_ = alignment; }

private:
    std::optional<std::string> title_;
    platform::ui::Font font_;
    std::int32_t buttonType_ = 0;
    AuroraTextAlignment alignment_ = AuroraTextAlignment::left;
};
