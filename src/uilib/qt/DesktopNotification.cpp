#include "uilib/qt/DesktopNotification.h"

#include "platform/ProgramIdentity.h"
#include "platform/qt/ActivationToken.h"
#include "platform/qt/PrivateConnection.h"
#include "uilib/qt/NotificationPicture.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QMetaObject>
#include <QVariantMap>
#include <utility>

namespace uilib::qt {

namespace {

const auto serverName = QStringLiteral("org.freedesktop.Notifications");
const auto serverPath = QStringLiteral("/org/freedesktop/Notifications");
const auto defaultAction = QStringLiteral("default");
const auto notificationTitle = QString::fromLatin1(platform::programTitle);
const auto applicationId = QString::fromLatin1(platform::programId);
const auto propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const auto inhibitedProperty = QStringLiteral("Inhibited");
constexpr int replyPatience = 5000;
// The converter ends its notification itself; the server does so only after the converter has gone.
constexpr std::chrono::milliseconds extraTime{5000};

// Urgency levels of the Desktop Notifications Specification 1.2.
constexpr uchar lowUrgency = 0;
constexpr uchar normalUrgency = 1;
constexpr uchar criticalUrgency = 2;

// One for all notifications, until the process ends: a server may remove the notifications of a connection that closes.
QDBusConnection connection() {
    static auto& shared = *new platform::qt::PrivateConnection(
        QDBusConnection::SessionBus, QStringLiteral("record-converter desktop notifications"));
    return shared.bus();
}

QDBusMessage callNamed(const QString& method) {
    return QDBusMessage::createMethodCall(serverName, serverPath, serverName, method);
}

}  // namespace

DesktopNotification::DesktopNotification(BubbleContent content, std::chrono::milliseconds time, Handlers handlers)
    : content_(std::move(content)),
      time_(time),
      handlers_(std::move(handlers)),
      bus_(connection()),
      serverWatch_(serverName, bus_, QDBusServiceWatcher::WatchForUnregistration) {
    if (!bus_.isConnected()) {
        QMetaObject::invokeMethod(
            this, [this] { end([this] { handlers_.refused("there is no session bus"); }); }, Qt::QueuedConnection);
        return;
    }
    listen();
    ask();
}

void DesktopNotification::listen() {
    // Uses the server's name as sender, so that signals of other programs are ignored.
    bus_.connect(serverName, serverPath, serverName, QStringLiteral("NotificationClosed"), this,
                 SLOT(onClosed(uint, uint)));
    bus_.connect(serverName, serverPath, serverName, QStringLiteral("ActivationToken"), this,
                 SLOT(onActivationToken(uint, QString)));
    bus_.connect(serverName, serverPath, serverName, QStringLiteral("ActionInvoked"), this,
                 SLOT(onActionInvoked(uint, QString)));
    connect(&serverWatch_, &QDBusServiceWatcher::serviceUnregistered, this, &DesktopNotification::onServerGone);
}

void DesktopNotification::ask() {
    auto* const answer =
        new QDBusPendingCallWatcher(bus_.asyncCall(callNamed(QStringLiteral("GetCapabilities")), replyPatience), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QStringList> reply = *answer;
        if (hasEnded_) {
            return;
        }
        if (reply.isError()) {
            const auto reason = "no notification server answers: " + reply.error().message().toStdString();
            end([this, reason] { handlers_.refused(reason); });
        } else {
            capabilities_ = reply.value();
            notify();
        }
    });
}

void DesktopNotification::notify() {
    auto* const answer = new QDBusPendingCallWatcher(bus_.asyncCall(notification(false), replyPatience), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<uint> reply = *answer;
        if (!reply.isError()) {
            onNumber(reply.value());
        } else if (!hasEnded_) {
            const auto reason = "the notification server refuses: " + reply.error().message().toStdString();
            end([this, reason] { handlers_.refused(reason); });
        }
    });
}

void DesktopNotification::onNumber(uint id) {
    id_ = id;
    if (hasEnded_) {
        // It was closed while the server was still creating it.
        hasEnded_ = false;
        close();
        return;
    }
    handlers_.shown();
    if (can("inhibitions")) {
        askWhetherHeldBack();
    }
}

void DesktopNotification::askWhetherHeldBack() {
    bus_.connect(serverName, serverPath, propertiesInterface, QStringLiteral("PropertiesChanged"), this,
                 SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    auto question = QDBusMessage::createMethodCall(serverName, serverPath, propertiesInterface, QStringLiteral("Get"));
    question << serverName << inhibitedProperty;
    auto* const answer = new QDBusPendingCallWatcher(bus_.asyncCall(question, replyPatience), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        setHeldBack(reply.isValid() && reply.value().variant().toBool());
    });
}

void DesktopNotification::onPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                              const QStringList&) {
    if (interface == serverName && changed.contains(inhibitedProperty)) {
        setHeldBack(changed.value(inhibitedProperty).toBool());
    }
}

void DesktopNotification::setHeldBack(bool isHeldBack) {
    if (hasEnded_ || std::exchange(isHeldBack_, isHeldBack) == isHeldBack) {
        return;
    }
    handlers_.heldBack(isHeldBack);
    if (!isHeldBack) {
        bus_.send(notification(false));
    }
}

bool DesktopNotification::can(const char* capability) const {
    return capabilities_.contains(QLatin1String(capability));
}

QDBusMessage DesktopNotification::notification(bool isFarewell) const {
    const auto body = can("body") ? QString::fromStdString(content_.detail) : QString();
    auto call = callNamed(QStringLiteral("Notify"));
    call << notificationTitle << id_ << applicationId << QString::fromStdString(content_.text)
         << (can("body-markup") ? body.toHtmlEscaped() : body) << (isFarewell ? QStringList() : actions())
         << hints(isFarewell) << static_cast<int>((time_ + extraTime).count());
    return call;
}

QStringList DesktopNotification::actions() const {
    QStringList list;
    if (!can("actions") || content_.buttons.empty()) {
        return list;
    }
    // A press on the notification itself acts like the first button. Without a title, because some servers make a button
    // of this one too.
    list << defaultAction << QString();
    for (std::size_t i = 0; i < content_.buttons.size(); ++i) {
        list << QString::number(i) << QString::fromStdString(content_.buttons[i].title);
    }
    return list;
}

QVariantMap DesktopNotification::hints(bool isFarewell) const {
    const bool isFailure = content_.kind == AuroraBubbleKind::failure;
    QVariantMap hints;
    hints[QStringLiteral("urgency")] = QVariant::fromValue(isFarewell  ? lowUrgency
                                                           : isFailure ? criticalUrgency
                                                                       : normalUrgency);
    hints[QStringLiteral("desktop-entry")] = applicationId;
    if (content_.kind != AuroraBubbleKind::news) {
        hints[QStringLiteral("category")] =
            isFailure ? QStringLiteral("transfer.error") : QStringLiteral("transfer.complete");
        // The image for news is drawn for dark backgrounds only; the application's icon replaces it.
        if (content_.picture) {
            hints[QStringLiteral("image-data")] = QVariant::fromValue(notificationPicture(*content_.picture));
        }
    }
    return hints;
}

void DesktopNotification::end(const std::function<void()>& last) {
    if (!std::exchange(hasEnded_, true)) {
        last();
    }
}

void DesktopNotification::close() {
    if (std::exchange(hasEnded_, true) || id_ == 0) {
        return;
    }
    auto call = callNamed(QStringLiteral("CloseNotification"));
    call << id_;
    bus_.send(call);
}

void DesktopNotification::leaveToDesktop() {
    if (!can("persistence")) {
        close();
    } else if (!std::exchange(hasEnded_, true) && !actions().empty()) {
        bus_.send(notification(true));
    }
}

void DesktopNotification::onClosed(uint id, uint) {
    if (id == id_ && id_ != 0) {
        end([this] { handlers_.closed(); });
    }
}

void DesktopNotification::onActivationToken(uint id, const QString& token) {
    if (id == id_ && !hasEnded_) {
        platform::qt::setActivationToken(token);
    }
}

void DesktopNotification::onActionInvoked(uint id, const QString& key) {
    if (id != id_ || id_ == 0 || hasEnded_ || content_.buttons.empty()) {
        return;
    }
    bool isNumber = false;
    const auto index = key == defaultAction ? 0U : key.toUInt(&isNumber);
    if ((isNumber || key == defaultAction) && index < content_.buttons.size()) {
        const auto control = content_.buttons[index].control;
        control->sendAction();
    }
    platform::qt::takeActivationToken();
}

void DesktopNotification::onServerGone() {
    if (id_ != 0) {
        end([this] { handlers_.closed(); });
    }
}

}  // namespace uilib::qt
