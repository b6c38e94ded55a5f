#include "platform/qt/OwnScope.h"

#include "platform/ProgramIdentity.h"
#include "platform/qt/PrivateConnection.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QList>
#include <utility>

namespace {

/// (sv), the form in which the service manager takes a unit's properties.
struct UnitProperty {
    QString name;
    QDBusVariant value;
};

/// (sa(sv)): an additional unit to create; always an empty list here.
struct AuxiliaryUnit {
    QString name;
    QList<UnitProperty> properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const UnitProperty& property) {
    argument.beginStructure();
    argument << property.name << property.value;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, UnitProperty& property) {
    argument.beginStructure();
    argument >> property.name >> property.value;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const AuxiliaryUnit& unit) {
    argument.beginStructure();
    argument << unit.name << unit.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, AuxiliaryUnit& unit) {
    argument.beginStructure();
    argument >> unit.name >> unit.properties;
    argument.endStructure();
    return argument;
}

}  // namespace

Q_DECLARE_METATYPE(UnitProperty)
Q_DECLARE_METATYPE(AuxiliaryUnit)

namespace platform::qt {

namespace {

QDBusMessage scopeRequest(const std::string& applicationId) {
    qDBusRegisterMetaType<UnitProperty>();
    qDBusRegisterMetaType<QList<UnitProperty>>();
    qDBusRegisterMetaType<AuxiliaryUnit>();
    qDBusRegisterMetaType<QList<AuxiliaryUnit>>();

    const auto processId = QCoreApplication::applicationPid();
    const auto property = [](const QString& name, const QVariant& value) {
        return UnitProperty{name, QDBusVariant(value)};
    };
    const QList<UnitProperty> properties = {
        property(QStringLiteral("Description"), QString::fromLatin1(programTitle)),
        property(QStringLiteral("PIDs"), QVariant::fromValue(QList<uint>{static_cast<uint>(processId)})),
        property(QStringLiteral("Slice"), QStringLiteral("app.slice")),
        // Without this, the scope of a killed process would remain as failed.
        property(QStringLiteral("CollectMode"), QStringLiteral("inactive-or-failed")),
    };
    auto call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.systemd1"), QStringLiteral("/org/freedesktop/systemd1"),
        QStringLiteral("org.freedesktop.systemd1.Manager"), QStringLiteral("StartTransientUnit"));
    call << QStringLiteral("app-%1-%2.scope").arg(QString::fromStdString(applicationId)).arg(processId)
         << QStringLiteral("fail") << QVariant::fromValue(properties) << QVariant::fromValue(QList<AuxiliaryUnit>());
    call.setAutoStartService(false);
    return call;
}

}  // namespace

struct OwnScope::Request {
    PrivateConnection connection{QDBusConnection::SessionBus, QStringLiteral("own scope")};
    // Declared last so that it is destroyed first: it uses the connection.
    std::unique_ptr<QDBusPendingCallWatcher> answer;
};

OwnScope::OwnScope() = default;

OwnScope::~OwnScope() = default;

void OwnScope::ask(const std::string& applicationId) {
    auto request = std::make_unique<Request>();
    if (!request->connection.isConnected()) {
        return;
    }
    const auto call = request->connection.bus().asyncCall(scopeRequest(applicationId));
    request->answer = std::make_unique<QDBusPendingCallWatcher>(call);
    QObject::connect(
        request->answer.get(), &QDBusPendingCallWatcher::finished, QCoreApplication::instance(),
        [this] { request_.reset(); }, Qt::QueuedConnection);
    request_ = std::move(request);
}

}  // namespace platform::qt
