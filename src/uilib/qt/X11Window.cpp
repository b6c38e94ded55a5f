#include "uilib/qt/X11Window.h"

#include "platform/qt/X11Connection.h"

#include <QWindow>
#include <algorithm>
#include <cstdint>
#include <vector>

namespace uilib::qt {

namespace {

using platform::qt::x11Atom;
using platform::qt::x11Connection;
using platform::qt::X11Reply;

constexpr std::uint32_t everyDesktop = 0xffffffff;
constexpr std::uint32_t longestList = 64;

xcb_window_t idOf(const QWindow& window) {
    return static_cast<xcb_window_t>(window.winId());
}

X11Reply<xcb_get_property_reply_t> property(xcb_connection_t* connection, xcb_window_t window, const char* name) {
    const auto cookie =
        xcb_get_property(connection, 0, window, x11Atom(connection, name), XCB_ATOM_ANY, 0, longestList);
    return X11Reply<xcb_get_property_reply_t>(xcb_get_property_reply(connection, cookie, nullptr));
}

std::vector<xcb_atom_t> values(xcb_connection_t* connection, xcb_window_t window, const char* name) {
    const auto reply = property(connection, window, name);
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* const first = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
    return {first, first + xcb_get_property_value_length(reply.get()) / static_cast<int>(sizeof(xcb_atom_t))};
}

void setValues(xcb_connection_t* connection, xcb_window_t window, const char* name, xcb_atom_t type,
               const std::vector<std::uint32_t>& numbers) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, x11Atom(connection, name), type, 32,
                        static_cast<std::uint32_t>(numbers.size()), numbers.data());
}

}  // namespace

void markAsNotification(const QWindow& window) {
    auto* const connection = x11Connection();
    if (connection == nullptr) {
        return;
    }
    const auto id = idOf(window);
    // The toolkit knows this kind, but asks for a normal window.
    setValues(connection, id, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM,
              {x11Atom(connection, "_NET_WM_WINDOW_TYPE_NOTIFICATION")});
    setValues(connection, id, "_NET_WM_DESKTOP", XCB_ATOM_CARDINAL, {everyDesktop});
    // The toolkit adds its own to these when it shows the window.
    setValues(connection, id, "_NET_WM_STATE", XCB_ATOM_ATOM,
              {x11Atom(connection, "_NET_WM_STATE_STICKY"), x11Atom(connection, "_NET_WM_STATE_SKIP_TASKBAR"),
               x11Atom(connection, "_NET_WM_STATE_SKIP_PAGER")});
    // The toolkit refuses input, but still offers to take it: some window managers only look at the offer.
    auto protocols = values(connection, id, "WM_PROTOCOLS");
    std::erase(protocols, x11Atom(connection, "WM_TAKE_FOCUS"));
    setValues(connection, id, "WM_PROTOCOLS", XCB_ATOM_ATOM, protocols);
    xcb_flush(connection);
}

bool isHiddenByWindowManager(const QWindow& window) {
    auto* const connection = x11Connection();
    if (connection == nullptr) {
        return false;
    }
    const auto states = values(connection, idOf(window), "_NET_WM_STATE");
    return std::find(states.begin(), states.end(), x11Atom(connection, "_NET_WM_STATE_HIDDEN")) != states.end();
}

QByteArray windowManagerName() {
    auto* const connection = x11Connection();
    if (connection == nullptr) {
        return {};
    }
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const auto check = values(connection, root, "_NET_SUPPORTING_WM_CHECK");
    if (check.empty()) {
        return {};
    }
    const auto name = property(connection, check.front(), "_NET_WM_NAME");
    return name ? QByteArray(static_cast<const char*>(xcb_get_property_value(name.get())),
                             xcb_get_property_value_length(name.get()))
                : QByteArray();
}

}  // namespace uilib::qt
