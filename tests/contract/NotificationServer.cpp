#include "contract/NotificationServer.h"

#include <QDBusMessage>
#include <utility>

namespace test {

namespace {

const auto serviceName = QStringLiteral("org.freedesktop.Notifications");
const auto objectPath = QStringLiteral("/org/freedesktop/Notifications");

QString newConnectionName() {
    static int count = 0;
    return QStringLiteral("notification server %1").arg(++count);
}

}  // namespace

NotificationServer::NotificationServer(QStringList capabilities)
    : capabilities_(std::move(capabilities)),
      connectionName_(newConnectionName()),
      connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName_)) {
    connection_.registerObject(objectPath, this,
                               QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                                   QDBusConnection::ExportAllProperties);
    connection_.registerService(serviceName);
}

NotificationServer::~NotificationServer() {
    connection_.unregisterService(serviceName);
    connection_.unregisterObject(objectPath);
    QDBusConnection::disconnectFromBus(connectionName_);
}

uint NotificationServer::Notify(const QString&, uint replaces, const QString& icon, const QString& summary,
                                const QString& body, const QStringList& actions, const QVariantMap& hints,
                                int timeout) {
    const uint id = replaces != 0 ? replaces : ++lastId_;
    shown.push_back({id, replaces, icon, summary, body, actions, hints, timeout});
    if (onNotify_) {
        onNotify_();
    }
    return id;
}

void NotificationServer::setInhibited(bool isInhibited) {
    isInhibited_ = isInhibited;
    auto change = QDBusMessage::createSignal(objectPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                             QStringLiteral("PropertiesChanged"));
    change << serviceName << QVariantMap{{QStringLiteral("Inhibited"), isInhibited}} << QStringList();
    connection_.send(change);
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
