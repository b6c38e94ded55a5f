#pragma once

class QPoint;
class QWindow;

/// Windows above all others that stand where they are put and take no keyboard, on Wayland compositors that offer layer
/// surfaces. What does it is in a library of its own, which is loaded when it is first asked for. Main thread.
namespace platform::qt {

/// Whether the compositor that WAYLAND_DISPLAY names offers them, and this program was built with what uses them. Asks
/// once. May be called before the application object exists.
bool hasLayerSurfaces();

/// Whether windows of this process are to be layer surfaces: they are offered, and the toolkit draws on Wayland.
bool usesLayerSurfaces();

/// Call these only if `usesLayerSurfaces`. A window becomes one before it is first shown. `topLeft` is in desktop
/// coordinates; what counts is its distance from the right and upper edges of the screen it lies on.
void makeLayerSurface(QWindow& window);
void placeLayerSurface(QWindow& window, const QPoint& topLeft);
void letLayerSurfaceTakeKeyboard(QWindow& window, bool accepts);

}  // namespace platform::qt
