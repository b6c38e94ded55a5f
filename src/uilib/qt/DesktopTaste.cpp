#include "uilib/qt/DesktopTaste.h"

#include "platform/qt/SessionBus.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace uilib::qt {

namespace {

const auto kService = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto kInterface = QStringLiteral("org.freedesktop.portal.Settings");

// The common group, and those of a large desktop that had its own before.
const auto kAppearance = QStringLiteral("org.freedesktop.appearance");
const auto kInterfaceGroup = QStringLiteral("org.gnome.desktop.interface");
const auto kAccessGroup = QStringLiteral("org.gnome.desktop.a11y.interface");

QDBusConnection newConnection() {
    static int count = 0;
    const auto name = QStringLiteral("record-converter taste %1").arg(++count);
    return platform::qt::hasSessionBusAddress() ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)
                                                : QDBusConnection(name);
}

QVariant unwrapped(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

}  // namespace

DesktopTaste::DesktopTaste()
    : bus_(newConnection()), portalWatch_(kService, bus_, QDBusServiceWatcher::WatchForRegistration) {
    if (!bus_.isConnected()) {
        return;
    }
    // The toolkit looks the parameters of a slot up by name, and knows no type before its first use.
    qRegisterMetaType<QDBusVariant>();
    // By group, so that no other setting's change wakes this process up.
    for (const auto& group : {kAppearance, kInterfaceGroup, kAccessGroup}) {
        bus_.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), {group}, QStringLiteral("ssv"),
                     this, SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    }
    connect(&portalWatch_, &QDBusServiceWatcher::serviceRegistered, this, &DesktopTaste::askForAll);
    askForAll();
}

DesktopTaste::~DesktopTaste() {
    QDBusConnection::disconnectFromBus(bus_.name());
}

void DesktopTaste::askForAll() {
    ask(kAppearance, QStringLiteral("reduced-motion"));
    ask(kAppearance, QStringLiteral("contrast"));
    ask(kInterfaceGroup, QStringLiteral("enable-animations"));
    ask(kAccessGroup, QStringLiteral("high-contrast"));
}

void DesktopTaste::ask(const QString& group, const QString& key) {
    auto question = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
    // A bubble is no reason to start a portal.
    question.setAutoStartService(false);
    question << group << key;
    auto* const answer = new QDBusPendingCallWatcher(bus_.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, group, key] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isValid()) {
            take(group, key, reply.value().variant());
        }
    });
}

void DesktopTaste::onSettingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    take(group, key, value.variant());
}

void DesktopTaste::take(const QString& group, const QString& key, const QVariant& value) {
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
