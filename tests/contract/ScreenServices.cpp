#include "contract/ScreenServices.h"

#include <QDBusMessage>
#include <QVariantMap>
#include <utility>

namespace test {

namespace {

const auto managerName = QStringLiteral("org.freedesktop.login1");
const auto managerPath = QStringLiteral("/org/freedesktop/login1");
const auto managerConnection = QStringLiteral("login manager");
const auto sessionPath = QStringLiteral("/org/freedesktop/login1/session/_37");

}  // namespace

// The service's name also distinguishes the connection.
ScreenSaver::ScreenSaver(bool isActive, QString service)
    : service_(std::move(service)),
      connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, service_)),
      isActive_(isActive) {
    connection_.registerObject(path(), service_, this, QDBusConnection::ExportAllSlots);
    connection_.registerService(service_);
}

ScreenSaver::~ScreenSaver() {
    connection_.unregisterService(service_);
    connection_.unregisterObject(path());
    QDBusConnection::disconnectFromBus(service_);
}

QString ScreenSaver::path() const {
    return QLatin1Char('/') + QString(service_).replace(QLatin1Char('.'), QLatin1Char('/'));
}

void ScreenSaver::setActive(bool isActive) {
    isActive_ = isActive;
    auto signal = QDBusMessage::createSignal(path(), service_, QStringLiteral("ActiveChanged"));
    signal << isActive;
    connection_.send(signal);
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
