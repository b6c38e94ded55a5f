#pragma once

#include "platform/ui/Geometry.h"

#include <QAbstractNativeEventFilter>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>

namespace platform::qt {

/// The toolkit's own window inside an X11 tray: its actual position, and changes of it. A tray may move without
/// notifying the windows it holds, so the windows around it are observed as well; nothing is polled. Main thread.
class TrayWindow final : public QAbstractNativeEventFilter {
public:
    /// `moved` is called when the icon may have appeared, moved or disappeared.
    explicit TrayWindow(std::function<void()> moved);
    ~TrayWindow() override;

    TrayWindow(const TrayWindow&) = delete;
    TrayWindow& operator=(const TrayWindow&) = delete;

    /// The icon's frame on the desktop (top left corner, y growing downward); absent while it is in no tray.
    std::optional<ui::Rect> desktopFrame();

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

private:
    void listenAround(std::uint32_t window);

    const std::function<void()> moved_;
    std::set<std::uint32_t> listenedTo_;
};

}  // namespace platform::qt
