#include "uilib/qt/DesktopTaste.h"

#include <QDBusMessage>

namespace uilib::qt {

namespace {

const auto portalName = QStringLiteral("org.freedesktop.portal.Desktop");
const auto portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");

// The common group, and those of a large desktop that had its own earlier.
const auto appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const auto interfaceGroup = QStringLiteral("org.gnome.desktop.interface");
const auto accessGroup = QStringLiteral("org.gnome.desktop.a11y.interface");

QVariant unwrapped(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

}  // namespace

DesktopTaste::DesktopTaste()
    : connection_(QDBusConnection::SessionBus, QStringLiteral("record-converter taste")),
      portalWatch_(portalName, connection_.bus(), QDBusServiceWatcher::WatchForRegistration) {
    if (!connection_.isConnected()) {
        return;
    }
    // The toolkit looks up the parameter types of a slot by name, and knows a type only after its first use.
    qRegisterMetaType<QDBusVariant>();
    // By group, so that changes of other settings do not wake this process.
    for (const auto& group : {appearanceGroup, interfaceGroup, accessGroup}) {
        connection_.bus().connect(portalName, portalPath, settingsInterface, QStringLiteral("SettingChanged"), {group},
                                  QStringLiteral("ssv"), this, SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    }
    connect(&portalWatch_, &QDBusServiceWatcher::serviceRegistered, this, &DesktopTaste::askForAll);
    askForAll();
}

void DesktopTaste::askForAll() {
    ask(appearanceGroup, QStringLiteral("reduced-motion"));
    ask(appearanceGroup, QStringLiteral("contrast"));
    ask(interfaceGroup, QStringLiteral("enable-animations"));
    ask(accessGroup, QStringLiteral("high-contrast"));
}

void DesktopTaste::ask(const QString& group, const QString& key) {
    auto question = QDBusMessage::createMethodCall(portalName, portalPath, settingsInterface, QStringLiteral("Read"));
    question << group << key;
    connection_.ask<QDBusVariant>(
        *this, question, [this, group, key](const QDBusVariant& value) { apply(group, key, value.variant()); });
}

void DesktopTaste::onSettingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    apply(group, key, value.variant());
}

void DesktopTaste::apply(const QString& group, const QString& key, const QVariant& value) {
    const auto plain = unwrapped(value);
    if (group == appearanceGroup && key == QLatin1String("reduced-motion")) {
        lessMotion_ = plain.toUInt() == 1;
    } else if (group == appearanceGroup && key == QLatin1String("contrast")) {
        moreContrast_ = plain.toUInt() == 1;
    } else if (group == interfaceGroup && key == QLatin1String("enable-animations")) {
        animations_ = plain.toBool();
    } else if (group == accessGroup && key == QLatin1String("high-contrast")) {
        highContrast_ = plain.toBool();
    }
}

}  // namespace uilib::qt
