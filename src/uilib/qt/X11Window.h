#pragma once

#include <QByteArray>

class QWindow;

/// What the toolkit has no word for on X11 (Extended Window Manager Hints 1.5; ICCCM 2.0, section 4.1.7). Each does
/// nothing, or answers with the default, where the display is not X11. Main thread.
namespace uilib::qt {

/// Makes a window that is not shown yet one that stands on every desktop, in no taskbar or pager, and is given the
/// keyboard by no window manager.
void markAsNotification(const QWindow& window);

/// Whether the window manager keeps the window from being seen, although it was shown; false by default.
bool isHiddenByWindowManager(const QWindow& window);

/// As it names itself; empty by default.
QByteArray windowManagerName();

}  // namespace uilib::qt
