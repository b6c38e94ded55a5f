#pragma once

#include "platform/ui/View.h"

#include <functional>
#include <utility>

namespace platform::ui {

/// A view that can be pressed. The drawing provider calls `sendAction` for each press.
class Control : public View {
public:
    using View::View;

    /// Called on each press; an empty function makes presses do nothing.
    void setAction(std::function<void()> action) { action_ = std::move(action); }

    void sendAction() const {
        if (action_) {
            action_();
        }
    }

    /// A disabled control is drawn as such and ignores presses.
    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { enabled_ = enabled; }

private:
    std::function<void()> action_;
    bool enabled_ = true;
};

}  // namespace platform::ui
