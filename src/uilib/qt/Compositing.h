#pragma once

#include <QRegion>

class QWindow;

namespace uilib::qt {

/// Whether windows may be translucent on this desktop now. Otherwise a bubble is cut out of its window's rectangle.
bool isDesktopComposited();

/// Whether the display system fades windows.
bool canFadeWindows();

/// Lets clicks outside `region` (in the window's own coordinates) fall through to what lies below. Does nothing if the
/// display system cannot.
void setInputRegion(QWindow& window, const QRegion& region);

}  // namespace uilib::qt
