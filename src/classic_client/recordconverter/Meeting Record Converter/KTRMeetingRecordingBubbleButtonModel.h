#pragma once

#include "platform/ui/Font.h"
#include "platform/ui/Geometry.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/// One push button of a bubble. Made by the bubble manager; the view fills in what was left open (font, type, size)
/// when it makes the button, so that the model is the record of the button's layout. Main thread.
class KTRMeetingRecordingBubbleButtonModel {
public:
    /// 0: none chosen; the view replaces it by 5.
    std::int32_t buttonType() const { return buttonType_; }
    void setButtonType(std::int32_t type) { buttonType_ = type; }

    const std::optional<std::string>& buttonTitle() const { return buttonTitle_; }
    void setButtonTitle(std::optional<std::string> title) { buttonTitle_ = std::move(title); }

    /// Absent: the view replaces it by "TamsaSansTT Light" at 12 points.
    const std::optional<platform::ui::Font>& titleFont() const { return titleFont_; }
    void setTitleFont(std::optional<platform::ui::Font> font) { titleFont_ = std::move(font); }

    /// What a press runs; empty: nothing.
    const std::function<void()>& function() const { return function_; }
    void setFunction(std::function<void()> function) { function_ = std::move(function); }

    /// Points; (0, 0) until the view has made the button.
    const platform::ui::Size& buttonSize() const { return buttonSize_; }
    void setButtonSize(const platform::ui::Size& size) { buttonSize_ = size; }

private:
    std::int32_t buttonType_ = 0;
    std::optional<std::string> buttonTitle_;
    std::optional<platform::ui::Font> titleFont_;
    std::function<void()> function_;
    platform::ui::Size buttonSize_;
};
