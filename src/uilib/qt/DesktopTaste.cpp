#include "uilib/qt/DesktopTaste.h"

#include <QDBusMessage>

namespace uilib::qt {

namespace {

const auto kService = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto kInterface = QStringLiteral("org.freedesktop.portal.Settings");

// The common group, and those of a large desktop that had its own earlier.
const auto kAppearance = QStringLiteral("org.freedesktop.appearance");
const auto kInterfaceGroup = QStringLiteral("org.gnome.desktop.interface");
const auto kAccessGroup = QStringLiteral("org.gnome.desktop.a11y.interface");

QVariant unwrapped(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

}  // namespace

DesktopTaste::DesktopTaste()
    : connection_(QDBusConnection::SessionBus, QStringLiteral("record-converter taste")),
      portalWatch_(kService, connection_.bus(), QDBusServiceWatcher::WatchForRegistration) {
    if (!connection_.isConnected()) {
        return;
    }
    // The toolkit looks up the parameter types of a slot by name, and knows a type only after its first use.
    qRegisterMetaType<QDBusVariant>();
    // By group, so that changes of other settings do not wake this process.
    for (const auto& group : {kAppearance, kInterfaceGroup, kAccessGroup}) {
        connection_.bus().connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), {group},
                                  QStringLiteral("ssv"), this, SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    }
    connect(&portalWatch_, &QDBusServiceWatcher::serviceRegistered, this, &DesktopTaste::askForAll);
    askForAll();
}

void DesktopTaste::askForAll() {
    ask(kAppearance, QStringLiteral("reduced-motion"));
    ask(kAppearance, QStringLiteral("contrast"));
    ask(kInterfaceGroup, QStringLiteral("enable-animations"));
    ask(kAccessGroup, QStringLiteral("high-contrast"));
}

void DesktopTaste::ask(const QString& group, const QString& key) {
    auto question = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
    question << group << key;
    connection_.ask<QDBusVariant>(
        *this, question, [this, group, key](const QDBusVariant& value) { apply(group, key, value.variant()); });
}

void DesktopTaste::onSettingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    apply(group, key, value.variant());
}

void DesktopTaste::apply(const QString& group, const QString& key, const QVariant& value) {
    const auto plain = unwrapped(value);
    if (group == kAppearance && key == QLatin1String("reduced-motion")) {
        lessMotion_ = plain.toUInt() == 1;
    } else if (group == kAppearance && key == QLatin1String("contrast")) {
        moreContrast_ = plain.toUInt() == 1;
    } else if (group == kInterfaceGroup && key == QLatin1String("enable-animations")) {
        animations_ = plain.toBool();
    } else if (group == kAccessGroup && key == QLatin1String("high-contrast")) {
        highContrast_ = plain.toBool();
    }
}

}  // namespace uilib::qt
