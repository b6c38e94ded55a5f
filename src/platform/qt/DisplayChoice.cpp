#include "platform/qt/DisplayChoice.h"

#include "platform/qt/LayerSurfaces.h"

#include <QDir>
#include <QLibraryInfo>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace platform::qt {

namespace {

std::string valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? "" : value;
}

bool answersAsX11() {
    // Returns an error object on failure, never null; it must be closed too.
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

bool answersAsWayland(const std::string& display) {
    const auto path = display.front() == '/' ? display : valueOf("XDG_RUNTIME_DIR") + "/" + display;
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        return false;
    }
    const bool answers = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(descriptor);
    return answers;
}

bool hasWaylandPlugin() {
    const QDir folder(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QLatin1String("/platforms"));
    return !folder.entryList({QStringLiteral("libqwayland*.so")}, QDir::Files).isEmpty();
}

}  // namespace

DisplayChoice chooseDisplay() {
    if (!valueOf("QT_QPA_PLATFORM").empty()) {
        return {};
    }
    const auto x11 = valueOf("DISPLAY");
    const auto wayland = valueOf("WAYLAND_DISPLAY");
    if (hasWaylandPlugin() && hasLayerSurfaces()) {
        return {"wayland;offscreen", {}};
    }
    if (!x11.empty() && answersAsX11()) {
        return {"xcb;offscreen", {}};
    }
    const bool waylandAnswers = !wayland.empty() && answersAsWayland(wayland);
    if (waylandAnswers && hasWaylandPlugin()) {
        return {"wayland;offscreen", {}};
    }
    if (waylandAnswers) {
        return {"offscreen", "there is only Wayland, and the toolkit has no plug-in for it"};
    }
    if (x11.empty() && wayland.empty()) {
        return {"offscreen", "the environment names no display"};
    }
    return {"offscreen", "the display " + (x11.empty() ? wayland : x11) + " does not answer"};
}

}  // namespace platform::qt
