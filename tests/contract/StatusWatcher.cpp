#include "contract/StatusWatcher.h"

#include "contract/EventLoop.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace test {

namespace {

const auto serviceName = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto objectPath = QStringLiteral("/StatusNotifierWatcher");

QString newConnectionName() {
    static int count = 0;
    return QStringLiteral("status watcher %1").arg(++count);
}

}  // namespace

StatusWatcher::StatusWatcher()
    : connectionName_(newConnectionName()),
      connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName_)) {
    connection_.registerObject(objectPath, this,
                               QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
    connection_.registerService(serviceName);
}

StatusWatcher::~StatusWatcher() {
    connection_.unregisterService(serviceName);
    connection_.unregisterObject(objectPath);
    QDBusConnection::disconnectFromBus(connectionName_);
}

QVariant StatusWatcher::property(const QString& item, const QString& name) {
    auto question =
        QDBusMessage::createMethodCall(item, QStringLiteral("/StatusNotifierItem"),
                                       QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << QStringLiteral("org.kde.StatusNotifierItem") << name;
    // This very thread sends the reply, so the call must not block.
    const QDBusPendingCallWatcher watcher(connection_.asyncCall(question));
    turnUntil([&] { return watcher.isFinished(); });
    const QDBusPendingReply<QDBusVariant> answer = watcher;
    return answer.isValid() ? answer.value().variant() : QVariant();
}

void StatusWatcher::activate(const QString& item) {
    auto call =
        QDBusMessage::createMethodCall(item, QStringLiteral("/StatusNotifierItem"),
                                       QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Activate"));
    call << 0 << 0;
    connection_.send(call);
}

}  // namespace test
