// The smallest program of the converter's kind: a toolkit application that shows a status icon and posts one signal. It
// measures the cost of the toolkit.

#include "platform/qt/NotificationAddress.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QIcon>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QVariantMap>
#include <csignal>
#include <unistd.h>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QPixmap pixmap(20, 20);
    pixmap.fill(Qt::white);
    QSystemTrayIcon icon{QIcon(pixmap)};
    QTimer::singleShot(0, [&icon] {
        icon.show();
        auto signal = QDBusMessage::createSignal(platform::qt::notificationPath, platform::qt::notificationInterface,
                                                 platform::qt::notificationSignal);
        const QVariantMap userInfo = {
            {QStringLiteral("kMeetingRecordNotificationKey_AckFromProcessId"), static_cast<int>(::getpid())},
            {QStringLiteral("kMeetingRecordNotificationKey_AckToProcessId"), 0}};
        signal << QStringLiteral("kMeetingRecordNotificationName_AppSpawnConfirm") << QString() << userInfo;
        QDBusConnection::sessionBus().send(signal);
    });
    return QApplication::exec();
}
