#pragma once

#include "platform/ui/Geometry.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform::ui {

/// A passive rectangle in a tree: the application sets frames, a provider draws the tree. The origin of a view's own
/// coordinates is its lower-left corner. Main thread.
class View {
public:
    View() = default;
    explicit View(const Rect& frame);
    virtual ~View() = default;

    View(const View&) = delete;
    View& operator=(const View&) = delete;

    /// Place and size in the surrounding view's coordinates.
    const Rect& frame() const { return frame_; }
    void setFrame(const Rect& frame) { frame_ = frame; }

    /// Keeps the origin.
    void setFrameSize(const Size& size);

    /// A short description of the view, for tool tips and screen readers. Empty by default.
    const std::string& toolTip() const { return toolTip_; }
    void setToolTip(std::string toolTip) { toolTip_ = std::move(toolTip); }

    /// Puts `view` on top of the existing subviews.
    void addSubview(std::shared_ptr<View> view);

    /// Back to front.
    const std::vector<std::shared_ptr<View>>& subviews() const { return subviews_; }

private:
    Rect frame_;
    std::string toolTip_;
    std::vector<std::shared_ptr<View>> subviews_;
};

}  // namespace platform::ui
