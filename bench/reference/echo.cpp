// The smallest responder on the bus: it acknowledges every notification that is not itself an acknowledgement.

#include "platform/qt/NotificationAddress.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>
#include <unistd.h>

using platform::qt::notificationInterface;
using platform::qt::notificationPath;
using platform::qt::notificationSignal;

class Echo final : public QObject {
    Q_OBJECT

public:
    Echo() {
        QDBusConnection::sessionBus().connect(QString(), notificationPath, notificationInterface, notificationSignal,
                                              this, SLOT(answer(QDBusMessage)));
        post(QStringLiteral("kMeetingRecordNotificationName_AppSpawnConfirm"), QString(), 0);
    }

private Q_SLOTS:
    void answer(const QDBusMessage& message) {
        const auto arguments = message.arguments();
        const auto name = arguments.value(0).toString();
        const auto userInfo = qdbus_cast<QVariantMap>(arguments.value(2));
        const auto addressee = userInfo.constFind(QStringLiteral("kMeetingRecordNotificationKey_MeetingProcessId"));
        if (addressee != userInfo.constEnd()) {
            post(QStringLiteral("kMeetingRecordNotificationName_AckNotification"), name, *addressee);
        }
    }

private:
    void post(const QString& name, const QString& answered, const QVariant& addressee) {
        auto signal = QDBusMessage::createSignal(notificationPath, notificationInterface, notificationSignal);
        QVariantMap userInfo = {
            {QStringLiteral("kMeetingRecordNotificationKey_AckFromProcessId"), static_cast<int>(::getpid())},
            {QStringLiteral("kMeetingRecordNotificationKey_AckToProcessId"), addressee}};
        if (!answered.isEmpty()) {
            userInfo.insert(QStringLiteral("kMeetingRecordNotificationKey_AckNotificationName"), answered);
        }
        signal << name << QString() << userInfo;
        QDBusConnection::sessionBus().send(signal);
    }
};

int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    const Echo echo;
    return QCoreApplication::exec();
}

#include "echo.moc"
