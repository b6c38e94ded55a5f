#pragma once

#include "platform/ui/Font.h"
#include "platform/ui/Geometry.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/// One push button of a bubble. Created by the bubble manager; the view fills in what was left open (font, type, size)
/// when it creates the button, so the model records the button's layout. Main thread.
class KTRMeetingRecordingBubbleButtonModel {
public:
    /// 0 means that none was chosen; the view replaces it with 5.
    std::int32_t buttonType() const { return buttonType_; }
    void setButtonType(std::int32_t type) { buttonType_ = type; }

    const std::optional<std::string>& buttonTitle() const { return buttonTitle_; }
    void setButtonTitle(std::optional<std::string> title) { buttonTitle_ = std::move(title); }

    /// If absent, the view uses "TamsaSansTT Light" at 12 points.
    const std::optional<platform::ui::Font>& titleFont() const { return titleFont_; }
    void setTitleFont(std::optional<platform::ui::Font> font) { titleFont_ = std::move(font); }

    /// Called on a press; empty does nothing.
    const std::function<void()>& function() const { return function_; }
    void setFunction(std::function<void()> function) { function_ = std::move(function); }

    /// Points; (0, 0) until the view has created the button.
    const platform::ui::Size& buttonSize() const { return buttonSize_; }
    void setButtonSize(const platform::ui::Size& size) { buttonSize_ = size; }

private:
    std::int32_t buttonType_ = 0;
    std::optional<std::string> buttonTitle_;
    std::optional<platform::ui::Font> titleFont_;
    std::function<void()> function_;
    platform::ui::Size buttonSize_;
};
