#include "contract/ScreenServices.h"

#include <QDBusMessage>
#include <QVariantMap>

namespace test {

namespace {

const auto saverName = QStringLiteral("org.freedesktop.ScreenSaver");
const auto saverPath = QStringLiteral("/org/freedesktop/ScreenSaver");
const auto saverConnection = QStringLiteral("screen saver");
const auto managerName = QStringLiteral("org.freedesktop.login1");
const auto managerPath = QStringLiteral("/org/freedesktop/login1");
const auto managerConnection = QStringLiteral("login manager");
const auto sessionPath = QStringLiteral("/org/freedesktop/login1/session/_37");

}  // namespace

ScreenSaver::ScreenSaver(bool isActive)
    : connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, saverConnection)), isActive_(isActive) {
    connection_.registerObject(saverPath, this, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
    connection_.registerService(saverName);
}

ScreenSaver::~ScreenSaver() {
    connection_.unregisterService(saverName);
    connection_.unregisterObject(saverPath);
    QDBusConnection::disconnectFromBus(saverConnection);
}

void ScreenSaver::setActive(bool isActive) {
    isActive_ = isActive;
    Q_EMIT ActiveChanged(isActive);
}

LoginManager::LoginManager(const QString& typeOfSession)
    : connection_(QDBusConnection::connectToBus(QDBusConnection::SystemBus, managerConnection)) {
    session_.type = typeOfSession;
    connection_.registerObject(managerPath, this, QDBusConnection::ExportAllSlots);
    connection_.registerObject(sessionPath, &session_, QDBusConnection::ExportAllProperties);
    connection_.registerService(managerName);
}

LoginManager::~LoginManager() {
    connection_.unregisterService(managerName);
    connection_.unregisterObject(sessionPath);
    connection_.unregisterObject(managerPath);
    QDBusConnection::disconnectFromBus(managerConnection);
}

void LoginManager::setHint(const QString& name, bool value) {
    session_.setProperty(name.toLatin1().constData(), value);
    auto signal = QDBusMessage::createSignal(sessionPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                             QStringLiteral("PropertiesChanged"));
    signal << QStringLiteral("org.freedesktop.login1.Session") << QVariantMap{{name, value}} << QStringList();
    connection_.send(signal);
}

QDBusObjectPath LoginManager::GetSession(const QString& id) {
    ++asked;
    return QDBusObjectPath(id == QLatin1String("auto") ? sessionPath : QStringLiteral("/none"));
}

}  // namespace test
