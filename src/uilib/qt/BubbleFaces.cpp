#include "uilib/qt/BubbleFaces.h"

#include "platform/qt/LayerSurfaces.h"
#include "uilib/qt/X11Window.h"

#include <QGuiApplication>

namespace uilib::qt {

namespace {

// The library that tiling Wayland compositors share centres every X11 window that it manages and gives it the keyboard
// focus.
const QByteArray centringWindowManager = "wlroots wm";

}  // namespace

std::vector<BubbleFace> facesFor(const Session& session) {
    std::vector<BubbleFace> faces;
    if (session.canPlaceWindows) {
        faces.push_back(BubbleFace::window);
    }
    faces.push_back(BubbleFace::notification);
    if (session.display == Session::Display::x11) {
        faces.push_back(BubbleFace::unmanagedWindow);
    }
    faces.push_back(BubbleFace::sentence);
    return faces;
}

Session currentSession() {
    const auto name = QGuiApplication::platformName();
    if (name == QLatin1String("xcb")) {
        return {Session::Display::x11, windowManagerName() != centringWindowManager};
    }
    return {name == QLatin1String("offscreen") ? Session::Display::none : Session::Display::wayland,
            platform::qt::usesLayerSurfaces()};
}

}  // namespace uilib::qt
