#pragma once

class QWindow;

/// What `liblayersurfaces.so` in the application folder's `lib` offers; `platform::qt::LayerSurfaces` looks it up by
/// these names. Main thread.
extern "C" {

/// 1 where the compositor that WAYLAND_DISPLAY names has layer surfaces (wlr-layer-shell-unstable-v1). Opens and closes
/// a connection of its own.
int layerSurfacesAreOffered();

/// Makes a window that has never been shown an overlay in the top right corner that takes no keyboard.
void layerSurfaceAdopt(QWindow* window);

/// Distances from the right and the upper edge of the free area, in points.
void layerSurfacePlace(QWindow* window, int right, int top);

/// Whether it may take the keyboard.
void layerSurfaceAcceptKeyboard(QWindow* window, int accepts);
}
