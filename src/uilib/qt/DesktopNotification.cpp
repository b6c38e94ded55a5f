#include "uilib/qt/DesktopNotification.h"

#include "platform/qt/ActivationToken.h"
#include "platform/qt/SessionBus.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QMetaObject>
#include <QVariantMap>
#include <utility>

namespace uilib::qt {

namespace {

const auto kServer = QStringLiteral("org.freedesktop.Notifications");
const auto kPath = QStringLiteral("/org/freedesktop/Notifications");
const auto kConnectionName = QStringLiteral("record-converter desktop notifications");
const auto kDefaultAction = QStringLiteral("default");
const auto kTitle = QStringLiteral("Record converter");
constexpr int kPatience = 5000;

QDBusConnection connection() {
    return platform::qt::hasSessionBusAddress()
               ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, kConnectionName)
               : QDBusConnection(kConnectionName);
}

QDBusMessage callNamed(const QString& method) {
    return QDBusMessage::createMethodCall(kServer, kPath, kServer, method);
}

}  // namespace

DesktopNotification::DesktopNotification(BubbleContent content, std::chrono::milliseconds time, Handlers handlers)
    : content_(std::move(content)),
      time_(time),
      handlers_(std::move(handlers)),
      bus_(connection()),
      serverWatch_(kServer, bus_, QDBusServiceWatcher::WatchForUnregistration) {
    if (!bus_.isConnected()) {
        QMetaObject::invokeMethod(
            this, [this] { end([this] { handlers_.refused("there is no session bus"); }); }, Qt::QueuedConnection);
        return;
    }
    listen();
    ask();
}

void DesktopNotification::listen() {
    // By the server's name, so that nobody else's signals are taken for it.
    bus_.connect(kServer, kPath, kServer, QStringLiteral("NotificationClosed"), this, SLOT(onClosed(uint, uint)));
    bus_.connect(kServer, kPath, kServer, QStringLiteral("ActivationToken"), this,
                 SLOT(onActivationToken(uint, QString)));
    bus_.connect(kServer, kPath, kServer, QStringLiteral("ActionInvoked"), this, SLOT(onActionInvoked(uint, QString)));
    connect(&serverWatch_, &QDBusServiceWatcher::serviceUnregistered, this, &DesktopNotification::onServerGone);
}

void DesktopNotification::ask() {
    auto* const answer =
        new QDBusPendingCallWatcher(bus_.asyncCall(callNamed(QStringLiteral("GetCapabilities")), kPatience), this);
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
            notify(reply.value());
        }
    });
}

void DesktopNotification::notify(const QStringList& capabilities) {
    capabilities_ = capabilities;
    auto text = QString::fromStdString(content_.text);
    const bool hasBody = capabilities_.contains(QLatin1String("body"));
    const bool hasMarkup = capabilities_.contains(QLatin1String("body-markup"));
    auto call = callNamed(QStringLiteral("Notify"));
    call << kTitle << 0U << QString() << (hasBody ? kTitle : text)
         << (hasBody ? (hasMarkup ? text.toHtmlEscaped() : text) : QString()) << actions() << hints()
         << static_cast<int>(time_.count());
    auto* const answer = new QDBusPendingCallWatcher(bus_.asyncCall(call, kPatience), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<uint> reply = *answer;
        if (reply.isError()) {
            const auto reason = "the notification server refuses: " + reply.error().message().toStdString();
            if (!hasEnded_) {
                end([this, reason] { handlers_.refused(reason); });
            }
            return;
        }
        id_ = reply.value();
        if (hasEnded_) {
            // Closed while the server was still making it.
            hasEnded_ = false;
            close();
            return;
        }
        handlers_.shown();
    });
}

QStringList DesktopNotification::actions() const {
    QStringList list;
    if (!capabilities_.contains(QLatin1String("actions")) || content_.buttons.empty()) {
        return list;
    }
    // A press on the notification itself does what the first button does.
    list << kDefaultAction << QString::fromStdString(content_.buttons.front().title);
    for (std::size_t i = 0; i < content_.buttons.size(); ++i) {
        list << QString::number(i) << QString::fromStdString(content_.buttons[i].title);
    }
    return list;
}

QVariantMap DesktopNotification::hints() const {
    const bool isFailure = content_.kind == BubbleContent::Kind::failure;
    QVariantMap hints;
    hints[QStringLiteral("urgency")] = QVariant::fromValue<uchar>(1);
    hints[QStringLiteral("desktop-entry")] = QStringLiteral("org.recordconverter.RecordConverter");
    if (content_.kind != BubbleContent::Kind::news) {
        hints[QStringLiteral("category")] =
            isFailure ? QStringLiteral("transfer.error") : QStringLiteral("transfer.complete");
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

void DesktopNotification::letGo() {
    if (capabilities_.contains(QLatin1String("persistence"))) {
        hasEnded_ = true;
    } else {
        close();
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
    const auto index = key == kDefaultAction ? 0U : key.toUInt(&isNumber);
    if ((isNumber || key == kDefaultAction) && index < content_.buttons.size()) {
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
