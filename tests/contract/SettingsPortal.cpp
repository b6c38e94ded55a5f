#include "contract/SettingsPortal.h"

namespace test {

namespace {

const auto connection = QStringLiteral("settings portal");
const auto serviceName = QStringLiteral("org.freedesktop.portal.Desktop");
const auto objectPath = QStringLiteral("/org/freedesktop/portal/desktop");

}  // namespace

SettingsPortal::SettingsPortal() : connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connection)) {
    qRegisterMetaType<QDBusVariant>();
    connection_.registerObject(objectPath, this, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
    connection_.registerService(serviceName);
}

SettingsPortal::~SettingsPortal() {
    connection_.unregisterService(serviceName);
    connection_.unregisterObject(objectPath);
    QDBusConnection::disconnectFromBus(connection);
}

void SettingsPortal::change(const QString& group, const QString& key, const QVariant& value) {
    settings[group + QLatin1Char(' ') + key] = value;
    Q_EMIT SettingChanged(group, key, QDBusVariant(value));
}

QDBusVariant SettingsPortal::Read(const QString& group, const QString& key) {
    ++asked;
    // Portals wrap the value in two variants.
    return QDBusVariant(
        QVariant::fromValue(QDBusVariant(settings.value(group + QLatin1Char(' ') + key, QVariant(0U)))));
}

}  // namespace test
