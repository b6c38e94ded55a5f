#include "uilib/qt/Compositing.h"

#include <QGuiApplication>
#include <QWindow>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>
#include <xcb/shape.h>
#include <xcb/xcb.h>

namespace uilib::qt {

namespace {

xcb_connection_t* x11Connection() {
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 == nullptr ? nullptr : x11->connection();
}

xcb_atom_t atomNamed(xcb_connection_t* connection, const std::string& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    auto* const reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t atom = reply == nullptr ? xcb_atom_t{XCB_ATOM_NONE} : reply->atom;
    std::free(reply);
    return atom;
}

}  // namespace

bool isDesktopComposited() {
    auto* const connection = x11Connection();
    if (connection == nullptr) {
        return true;
    }
    // A compositing manager holds the selection that is named after its screen; the toolkit draws on the first.
    const auto selection = atomNamed(connection, "_NET_WM_CM_S0");
    auto* const reply =
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr);
    const bool isOwned = reply != nullptr && reply->owner != XCB_WINDOW_NONE;
    std::free(reply);
    return isOwned;
}

bool canFadeWindows() {
    return x11Connection() != nullptr && isDesktopComposited();
}

void setInputRegion(const QWindow& window, const QRegion& region) {
    auto* const connection = x11Connection();
    if (connection == nullptr) {
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
