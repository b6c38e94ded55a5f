#include "platform/qt/TrayWindow.h"

#include "platform/qt/X11Connection.h"

#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>
#include <utility>

namespace platform::qt {

namespace {

// The toolkit has no function for its tray window; only the window's class identifies it.
xcb_window_t toolkitTrayWindow() {
    const auto widgets = QApplication::topLevelWidgets();
    for (const auto* widget : widgets) {
        if (qstrcmp(widget->metaObject()->className(), "QSystemTrayIconSys") == 0 &&
            widget->windowHandle() != nullptr) {
            return static_cast<xcb_window_t>(widget->windowHandle()->winId());
        }
    }
    return XCB_WINDOW_NONE;
}

X11Reply<xcb_query_tree_reply_t> treeOf(xcb_connection_t* connection, xcb_window_t window) {
    return X11Reply<xcb_query_tree_reply_t>(
        xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
}

// The toolkit keeps each screen's origin in device pixels and counts points from there.
ui::Rect inPoints(double x, double y, double width, double height) {
    for (const auto* screen : QGuiApplication::screens()) {
        const double scale = screen->devicePixelRatio();
        const QPointF origin = screen->geometry().topLeft();
        const QRectF device(origin, QSizeF(screen->size()) * scale);
        if (device.contains(QPointF(x + width / 2, y + height / 2))) {
            return {origin.x() + (x - origin.x()) / scale, origin.y() + (y - origin.y()) / scale, width / scale,
                    height / scale};
        }
    }
    return {x, y, width, height};
}

// The window that an event concerns, for event kinds that move or show windows.
xcb_window_t subjectOf(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7f) {
    case XCB_CONFIGURE_NOTIFY:
        return reinterpret_cast<const xcb_configure_notify_event_t&>(event).window;
    case XCB_REPARENT_NOTIFY:
        return reinterpret_cast<const xcb_reparent_notify_event_t&>(event).window;
    case XCB_MAP_NOTIFY:
        return reinterpret_cast<const xcb_map_notify_event_t&>(event).window;
    case XCB_UNMAP_NOTIFY:
        return reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window;
    case XCB_DESTROY_NOTIFY:
        return reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window;
    default:
        return XCB_WINDOW_NONE;
    }
}

}  // namespace

TrayWindow::TrayWindow(std::function<void()> moved) : moved_(std::move(moved)) {
    qApp->installNativeEventFilter(this);
}

TrayWindow::~TrayWindow() {
    qApp->removeNativeEventFilter(this);
}

std::optional<ui::Rect> TrayWindow::desktopFrame() {
    auto* const connection = x11Connection();
    const auto window = connection == nullptr ? xcb_window_t{XCB_WINDOW_NONE} : toolkitTrayWindow();
    if (window == XCB_WINDOW_NONE) {
        return std::nullopt;
    }
    const auto tree = treeOf(connection, window);
    if (!tree || tree->parent == tree->root) {
        return std::nullopt;
    }
    listenAround(window);
    const X11Reply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, window), nullptr));
    const X11Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    const X11Reply<xcb_translate_coordinates_reply_t> origin(xcb_translate_coordinates_reply(
        connection, xcb_translate_coordinates(connection, window, tree->root, 0, 0), nullptr));
    if (!attributes || !geometry || !origin || attributes->map_state != XCB_MAP_STATE_VIEWABLE) {
        return std::nullopt;
    }
    return inPoints(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
}

void TrayWindow::listenAround(std::uint32_t window) {
    auto* const connection = x11Connection();
    std::set<std::uint32_t> around{window};
    for (auto tree = treeOf(connection, window); tree && tree->parent != tree->root && tree->parent != XCB_WINDOW_NONE;
         tree = treeOf(connection, tree->parent)) {
        around.insert(tree->parent);
        if (!listenedTo_.contains(tree->parent)) {
            const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
            xcb_change_window_attributes(connection, tree->parent, XCB_CW_EVENT_MASK, &events);
        }
    }
    xcb_flush(connection);
    listenedTo_ = std::move(around);
}

bool TrayWindow::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
    if (type != "xcb_generic_event_t") {
        return false;
    }
    const auto& event = *static_cast<const xcb_generic_event_t*>(message);
    const auto subject = subjectOf(event);
    if (subject == XCB_WINDOW_NONE) {
        return false;
    }
    const bool isNewParent = (event.response_type & 0x7f) == XCB_REPARENT_NOTIFY;
    if (listenedTo_.contains(subject) || (isNewParent && subject == toolkitTrayWindow())) {
        moved_();
    }
    return false;
}

}  // namespace platform::qt
