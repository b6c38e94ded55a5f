#include "platform/qt/WorkInhibitor.h"

#include "platform/qt/PrivateConnection.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QVariantMap>
#include <optional>
#include <utility>

namespace platform::qt {

namespace {

constexpr uint logoutFlag = 1;

QDBusMessage sleepRequest(const std::string& who, const std::string& why) {
    auto call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
    return call << QStringLiteral("sleep:shutdown") << QString::fromStdString(who) << QString::fromStdString(why)
                << QStringLiteral("delay");
}

QDBusMessage logoutRequest(const std::string& why) {
    auto call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Inhibit"), QStringLiteral("Inhibit"));
    return call << QString() << logoutFlag << QVariantMap{{QStringLiteral("reason"), QString::fromStdString(why)}};
}

}  // namespace

// Keeps what has been granted: the login manager's lock is a descriptor in its reply, and the portal's ends with the
// connection that requested it.
struct WorkInhibitor::Request {
    Request(QDBusConnection::BusType bus, QDBusMessage call) : connection(bus, QStringLiteral("inhibitor")) {
        if (connection.isConnected()) {
            call.setAutoStartService(false);
            answer.emplace(connection.bus().asyncCall(call));
        }
    }

    PrivateConnection connection;
    std::optional<QDBusPendingCall> answer;
};

WorkInhibitor::WorkInhibitor(std::string who, std::string why) : who_(std::move(who)), why_(std::move(why)) {}

WorkInhibitor::~WorkInhibitor() = default;

void WorkInhibitor::hold() {
    sleep_ = std::make_unique<Request>(QDBusConnection::SystemBus, sleepRequest(who_, why_));
    logout_ = std::make_unique<Request>(QDBusConnection::SessionBus, logoutRequest(why_));
}

void WorkInhibitor::release() {
    logout_.reset();
    sleep_.reset();
}

}  // namespace platform::qt
