#include "uilib/qt/Compositing.h"

#include "platform/qt/X11Connection.h"

#include <QWindow>
#include <cmath>
#include <vector>
#include <xcb/shape.h>

namespace uilib::qt {

using platform::qt::x11Atom;
using platform::qt::x11Connection;
using platform::qt::X11Reply;

bool isDesktopComposited() {
    auto* const connection = x11Connection();
    if (connection == nullptr) {
        return true;
    }
    // A compositing manager owns the selection that is named after its screen; the toolkit draws on the first one.
    const auto selection = x11Atom(connection, "_NET_WM_CM_S0");
    const X11Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

bool canFadeWindows() {
    return x11Connection() != nullptr && isDesktopComposited();
}

void setInputRegion(QWindow& window, const QRegion& region) {
    auto* const connection = x11Connection();
    if (connection == nullptr) {
        window.setMask(region);
        return;
    }
    const double scale = window.devicePixelRatio();
    std::vector<xcb_rectangle_t> rectangles;
    for (const auto& part : region) {
        rectangles.push_back({static_cast<std::int16_t>(part.x() * scale), static_cast<std::int16_t>(part.y() * scale),
                              static_cast<std::uint16_t>(std::lround(part.width() * scale)),
                              static_cast<std::uint16_t>(std::lround(part.height() * scale))});
    }
    xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                         static_cast<xcb_window_t>(window.winId()), 0, 0, static_cast<std::uint32_t>(rectangles.size()),
                         rectangles.data());
    xcb_flush(connection);
}

}  // namespace uilib::qt
