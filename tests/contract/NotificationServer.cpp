#include "contract/NotificationServer.h"

#include <utility>

namespace test {

namespace {

const auto kName = QStringLiteral("org.freedesktop.Notifications");
const auto kPath = QStringLiteral("/org/freedesktop/Notifications");

QString newConnectionName() {
    static int count = 0;
    return QStringLiteral("notification server %1").arg(++count);
}

}  // namespace

NotificationServer::NotificationServer(QStringList capabilities)
    : capabilities_(std::move(capabilities)),
      connectionName_(newConnectionName()),
      connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName_)) {
    connection_.registerObject(kPath, this, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
    connection_.registerService(kName);
}

NotificationServer::~NotificationServer() {
    connection_.unregisterService(kName);
    connection_.unregisterObject(kPath);
    QDBusConnection::disconnectFromBus(connectionName_);
}

uint NotificationServer::Notify(const QString&, uint, const QString&, const QString& summary, const QString& body,
                                const QStringList& actions, const QVariantMap& hints, int timeout) {
    shown.push_back({++lastId_, summary, body, actions, hints, timeout});
    return lastId_;
}

void NotificationServer::CloseNotification(uint id) {
    closedByClient.push_back(id);
    Q_EMIT NotificationClosed(id, 3);
}

void NotificationServer::press(uint id, const QString& key, const QString& token) {
    if (!token.isEmpty()) {
        Q_EMIT ActivationToken(id, token);
    }
    Q_EMIT ActionInvoked(id, key);
    Q_EMIT NotificationClosed(id, 2);
}

void NotificationServer::expire(uint id) {
    Q_EMIT NotificationClosed(id, 1);
}

}  // namespace test
