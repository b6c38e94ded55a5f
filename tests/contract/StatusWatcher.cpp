#include "contract/StatusWatcher.h"

#include "contract/EventLoop.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace test {

namespace {

const auto serviceName = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto itemPath = QStringLiteral("/StatusNotifierItem");
const auto itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const auto menuInterface = QStringLiteral("com.canonical.dbusmenu");
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

QDBusMessage StatusWatcher::askMenu(const QString& item, const QString& method, const QVariantList& arguments) {
    const auto path = property(item, QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    auto call = QDBusMessage::createMethodCall(item, path, menuInterface, method);
    call.setArguments(arguments);
    const QDBusPendingCallWatcher watcher(connection_.asyncCall(call));
    turnUntil([&] { return watcher.isFinished(); });
    return watcher.reply();
}

bool StatusWatcher::listenToMenu(const QString& item, const QString& signal, QObject* receiver, const char* slot) {
    return connection_.connect(item, QString(), menuInterface, signal, receiver, slot);
}

QVariant StatusWatcher::property(const QString& item, const QString& name) {
    auto question = QDBusMessage::createMethodCall(item, itemPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                                   QStringLiteral("Get"));
    question << itemInterface << name;
    // This very thread sends the reply, so the call must not block.
    const QDBusPendingCallWatcher watcher(connection_.asyncCall(question));
    turnUntil([&] { return watcher.isFinished(); });
    const QDBusPendingReply<QDBusVariant> answer = watcher;
    return answer.isValid() ? answer.value().variant() : QVariant();
}

void StatusWatcher::activate(const QString& item) {
    callItem(item, QStringLiteral("Activate"), {0, 0});
}

void StatusWatcher::provideActivationToken(const QString& item, const QString& token) {
    callItem(item, QStringLiteral("ProvideXdgActivationToken"), {token});
}

void StatusWatcher::callItem(const QString& item, const QString& method, const QVariantList& arguments) {
    auto call = QDBusMessage::createMethodCall(item, itemPath, itemInterface, method);
    call.setArguments(arguments);
    connection_.send(call);
}

}  // namespace test
