#pragma once

#include <QByteArray>

class QWindow;

/// Operations that the toolkit lacks on X11 (Extended Window Manager Hints 1.5; ICCCM 2.0, section 4.1.7). Each does
/// nothing, or returns the default, if the display is not X11. Main thread.
namespace uilib::qt {

/// Marks a window that is not shown yet: it appears on every desktop and in no taskbar or pager, and no window manager
/// gives it the keyboard focus.
void markAsNotification(const QWindow& window);

/// Whether the window manager hides the window, although it was shown; false by default.
bool isHiddenByWindowManager(const QWindow& window);

/// The window manager's own name; empty by default.
QByteArray windowManagerName();

}  // namespace uilib::qt
