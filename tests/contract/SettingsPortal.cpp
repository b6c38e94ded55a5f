#include "contract/SettingsPortal.h"

namespace test {

namespace {

const auto kConnection = QStringLiteral("settings portal");
const auto kName = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPath = QStringLiteral("/org/freedesktop/portal/desktop");

}  // namespace

SettingsPortal::SettingsPortal()
    : connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, kConnection)) {
    connection_.registerObject(kPath, this, QDBusConnection::ExportAllSlots);
    connection_.registerService(kName);
}

SettingsPortal::~SettingsPortal() {
    connection_.unregisterService(kName);
    connection_.unregisterObject(kPath);
    QDBusConnection::disconnectFromBus(kConnection);
}

QDBusVariant SettingsPortal::Read(const QString& group, const QString& key) {
    // Portals wrap the value twice.
    return QDBusVariant(
        QVariant::fromValue(QDBusVariant(settings.value(group + QLatin1Char(' ') + key, QVariant(0U)))));
}

}  // namespace test
