#include "platform/qt/LayerSurfaces.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QLibrary>
#include <QScreen>
#include <QWindow>

namespace platform::qt {

namespace {

/// The library's entry points; see plugins/layersurfaces/EntryPoints.h.
struct Library {
    Library() {
        const QFileInfo program(QStringLiteral("/proc/self/exe"));
        QLibrary library(QFileInfo(program.symLinkTarget()).path() + QStringLiteral("/../lib/liblayersurfaces.so"));
        areOffered = reinterpret_cast<int (*)()>(library.resolve("layerSurfacesAreOffered"));
        adopt = reinterpret_cast<void (*)(QWindow*)>(library.resolve("layerSurfaceAdopt"));
        place = reinterpret_cast<void (*)(QWindow*, int, int)>(library.resolve("layerSurfacePlace"));
        acceptKeyboard = reinterpret_cast<void (*)(QWindow*, int)>(library.resolve("layerSurfaceAcceptKeyboard"));
    }

    bool isWhole() const {
        return areOffered != nullptr && adopt != nullptr && place != nullptr && acceptKeyboard != nullptr;
    }

    int (*areOffered)() = nullptr;
    void (*adopt)(QWindow*) = nullptr;
    void (*place)(QWindow*, int right, int top) = nullptr;
    void (*acceptKeyboard)(QWindow*, int accepts) = nullptr;
};

const Library& library() {
    static const Library theLibrary;
    return theLibrary;
}

}  // namespace

bool hasLayerSurfaces() {
    static const bool has =
        !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && library().isWhole() && library().areOffered() != 0;
    return has;
}

bool usesLayerSurfaces() {
    return QGuiApplication::platformName() == QLatin1String("wayland") && hasLayerSurfaces();
}

void makeLayerSurface(QWindow& window) {
    library().adopt(&window);
}

void placeLayerSurface(QWindow& window, const QPoint& topLeft) {
    // The compositor may have the window on another screen; the distances from its edges hold there as well.
    const auto* const asked = QGuiApplication::screenAt(QRect(topLeft, window.size()).center());
    const QRect screen = (asked != nullptr ? asked : window.screen())->availableGeometry();
    const int right = screen.right() + 1 - (topLeft.x() + window.width());
    library().place(&window, right, topLeft.y() - screen.top());
}

void letLayerSurfaceTakeKeyboard(QWindow& window, bool accepts) {
    library().acceptKeyboard(&window, accepts ? 1 : 0);
}

}  // namespace platform::qt
