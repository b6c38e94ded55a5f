#include "plugins/layersurfaces/EntryPoints.h"

#include <LayerShellQt/window.h>
#include <QWindow>
#include <cstdint>
#include <cstring>
#include <wayland-client.h>

namespace {

using Layer = LayerShellQt::Window;

void noteGlobal(void* isOffered, wl_registry*, std::uint32_t, const char* interface, std::uint32_t) {
    if (std::strcmp(interface, "zwlr_layer_shell_v1") == 0) {
        *static_cast<int*>(isOffered) = 1;
    }
}

void noteGone(void*, wl_registry*, std::uint32_t) {}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int layerSurfacesAreOffered() {
    wl_display* const display = wl_display_connect(nullptr);
    if (display == nullptr) {
        return 0;
    }
    int isOffered = 0;
    const wl_registry_listener listener = {noteGlobal, noteGone};
    wl_registry* const registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &listener, &isOffered);
    wl_display_roundtrip(display);
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
    return isOffered;
}

__attribute__((visibility("default"))) void layerSurfaceAdopt(QWindow* window) {
    Layer* const layer = Layer::get(window);
    layer->setLayer(Layer::LayerOverlay);
    layer->setAnchors(Layer::Anchors(Layer::AnchorTop) | Layer::AnchorRight);
    layer->setExclusiveZone(0);
    layer->setKeyboardInteractivity(Layer::KeyboardInteractivityNone);
    layer->setScope(QStringLiteral("notification"));
}

__attribute__((visibility("default"))) void layerSurfacePlace(QWindow* window, int right, int top) {
    Layer::get(window)->setMargins({0, top, right, 0});
}

__attribute__((visibility("default"))) void layerSurfaceAcceptKeyboard(QWindow* window, int accepts) {
    Layer::get(window)->setKeyboardInteractivity(accepts != 0 ? Layer::KeyboardInteractivityOnDemand
                                                              : Layer::KeyboardInteractivityNone);
}
}
