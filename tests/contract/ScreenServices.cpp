#include "contract/ScreenServices.h"

#include <QDBusMessage>
#include <QVariantMap>

namespace test {

namespace {

const auto kSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const auto kSaverPath = QStringLiteral("/org/freedesktop/ScreenSaver");
const auto kSaverConnection = QStringLiteral("screen saver");
const auto kManager = QStringLiteral("org.freedesktop.login1");
const auto kManagerPath = QStringLiteral("/org/freedesktop/login1");
const auto kManagerConnection = QStringLiteral("login manager");
const auto kSessionPath = QStringLiteral("/org/freedesktop/login1/session/_37");

}  // namespace

ScreenSaver::ScreenSaver(bool isActive)
    : connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, kSaverConnection)), isActive_(isActive) {
    connection_.registerObject(kSaverPath, this, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
    connection_.registerService(kSaver);
}

ScreenSaver::~ScreenSaver() {
    connection_.unregisterService(kSaver);
    connection_.unregisterObject(kSaverPath);
    QDBusConnection::disconnectFromBus(kSaverConnection);
}

void ScreenSaver::setActive(bool isActive) {
    isActive_ = isActive;
    Q_EMIT ActiveChanged(isActive);
}

LoginManager::LoginManager(const QString& typeOfSession)
    : connection_(QDBusConnection::connectToBus(QDBusConnection::SystemBus, kManagerConnection)) {
    session_.type = typeOfSession;
    connection_.registerObject(kManagerPath, this, QDBusConnection::ExportAllSlots);
    connection_.registerObject(kSessionPath, &session_, QDBusConnection::ExportAllProperties);
    connection_.registerService(kManager);
}

LoginManager::~LoginManager() {
    connection_.unregisterService(kManager);
    connection_.unregisterObject(kSessionPath);
    connection_.unregisterObject(kManagerPath);
    QDBusConnection::disconnectFromBus(kManagerConnection);
}

void LoginManager::setHint(const QString& name, bool value) {
    session_.setProperty(name.toLatin1().constData(), value);
    auto signal = QDBusMessage::createSignal(kSessionPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                             QStringLiteral("PropertiesChanged"));
    signal << QStringLiteral("org.freedesktop.login1.Session") << QVariantMap{{name, value}} << QStringList();
    connection_.send(signal);
}

QDBusObjectPath LoginManager::GetSession(const QString& id) {
    ++asked;
    return QDBusObjectPath(id == QLatin1String("auto") ? kSessionPath : QStringLiteral("/none"));
}

}  // namespace test
