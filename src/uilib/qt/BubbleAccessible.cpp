#include "uilib/qt/BubbleAccessible.h"

#include "uilib/qt/BubbleWindow.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace uilib::qt {

namespace {

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* const window = qobject_cast<BubbleWindow*>(object);
    return window == nullptr ? nullptr : new QAccessibleWidget(window, QAccessible::Notification);
}

}  // namespace

void announceAsNotifications() {
    static const bool isInstalled = (QAccessible::installFactory(makeAccessible), true);
    static_cast<void>(isInstalled);
}

}  // namespace uilib::qt
