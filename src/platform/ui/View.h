#pragma once

#include "platform/ui/Geometry.h"

#include <memory>
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

    /// Puts `view` on top of the subviews there are.
    void addSubview(std::shared_ptr<View> view);

    /// Back to front.
    const std::vector<std::shared_ptr<View>>& subviews() const { return subviews_; }

private:
    Rect frame_;
    std::vector<std::shared_ptr<View>> subviews_;
};

}  // namespace platform::ui
