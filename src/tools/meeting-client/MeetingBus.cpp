#include "tools/meeting-client/MeetingBus.h"

#include "platform/qt/NotificationAddress.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace {

using platform::qt::notificationInterface;
using platform::qt::notificationPath;
using platform::qt::notificationSignal;

// The bus processes the messages of one connection in order, so its reply means that it has handled all earlier ones.
void settle(const QDBusConnection& connection) {
    connection.call(
        QDBusMessage::createMethodCall("org.freedesktop.DBus", "/", "org.freedesktop.DBus", QStringLiteral("GetId")));
}

pid_t senderOf(const Notification& notification) {
    return notification.userInfo.value(kMeetingRecordNotificationKey_AckFromProcessId).toInt();
}

bool isAddressedTo(const Notification& notification, pid_t pid) {
    const QVariant to = notification.userInfo.value(kMeetingRecordNotificationKey_AckToProcessId);
    return to.isValid() && to.toInt() == pid;
}

}  // namespace

MeetingBus::MeetingBus() : connection_(QDBusConnection::sessionBus()) {
    if (isConnected()) {
        connection_.connect(QString(), notificationPath, notificationInterface, notificationSignal, this,
                            SLOT(onPosted(QDBusMessage)));
        settle(connection_);
    }
}

bool MeetingBus::converterRuns() const {
    return isConnected() && connection_.interface()->isServiceRegistered(kMeetingRecordConverterBundleIdentifier);
}

void MeetingBus::post(const Notification& notification) {
    QDBusMessage signal = QDBusMessage::createSignal(notificationPath, notificationInterface, notificationSignal);
    signal << notification.name << notification.object << notification.userInfo;
    connection_.send(signal);
    settle(connection_);
}

bool MeetingBus::waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    const QDeadlineTimer deadline =
        timeout.count() < 0 ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(timeout);
    QEventLoop loop;
    // Conditions outside the bus (a file that appears, a process that ends) are checked at this interval.
    QTimer look;
    look.start(50);
    while (!done()) {
        if (deadline.hasExpired()) {
            return false;
        }
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

pid_t MeetingBus::acknowledgedBy(const QString& name, pid_t pid) const {
    for (const Notification& received : received_) {
        if (received.name == kMeetingRecordNotificationName_AckNotification && isAddressedTo(received, pid) &&
            received.userInfo.value(kMeetingRecordNotificationKey_AckNotificationName) == name) {
            return senderOf(received);
        }
    }
    return 0;
}

pid_t MeetingBus::confirmedBy(pid_t pid) const {
    for (const Notification& received : received_) {
        if (received.name == kMeetingRecordNotificationName_AppSpawnConfirm && isAddressedTo(received, pid)) {
            return senderOf(received);
        }
    }
    return 0;
}

void MeetingBus::onPosted(const QDBusMessage& message) {
    const QList<QVariant> arguments = message.arguments();
    if (arguments.size() != 3 || message.signature() != QLatin1String("ssa{sv}")) {
        return;
    }
    const Notification notification{arguments[0].toString(), arguments[1].toString(),
                                    qdbus_cast<QVariantMap>(arguments[2])};
    // Stored only while something waits for an acknowledgement; a long watch must not grow.
    if (listener_) {
        listener_(notification);
    } else {
        received_.push_back(notification);
    }
}
