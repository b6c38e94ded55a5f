#include "contract/SettingsPortal.h"

namespace test {

namespace {

const auto kConnection = QStringLiteral("settings portal");
const auto kName = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPath = QStringLiteral("/org/freedesktop/portal/desktop");

}  // namespace

SettingsPortal::SettingsPortal()
    : connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, kConnection)) {
    qRegisterMetaType<QDBusVariant>();
    connection_.registerObject(kPath, this, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
    connection_.registerService(kName);
}

SettingsPortal::~SettingsPortal() {
    connection_.unregisterService(kName);
    connection_.unregisterObject(kPath);
    QDBusConnection::disconnectFromBus(kConnection);
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
