#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QObject>
#include <QString>
#include <utility>

namespace platform::qt {

/// A bus connection for one purpose, closed with the object; whatever services have granted to it ends then. Not
/// connected if there is no such bus. Main thread.
class PrivateConnection final {
public:
    /// `purpose` distinguishes it from the process's other connections.
    PrivateConnection(QDBusConnection::BusType bus, const QString& purpose);
    ~PrivateConnection();

    PrivateConnection(const PrivateConnection&) = delete;
    PrivateConnection& operator=(const PrivateConnection&) = delete;

    bool isConnected() const { return connection_.isConnected(); }
    QDBusConnection& bus() { return connection_; }
    const QDBusConnection& bus() const { return connection_; }

    /// Sends `question`, which never starts a service, and calls `answered` with its one value once a valid reply
    /// arrives: later, from the event loop. After an error, or once `asker` is destroyed, it is not called.
    template<typename Value, typename Answered>
    void ask(QObject& asker, QDBusMessage question, Answered answered) {
        question.setAutoStartService(false);
        auto* const answer = new QDBusPendingCallWatcher(connection_.asyncCall(question), &asker);
        QObject::connect(answer, &QDBusPendingCallWatcher::finished, &asker, [answer, answered = std::move(answered)] {
            answer->deleteLater();
            const QDBusPendingReply<Value> reply = *answer;
            if (reply.isValid()) {
                answered(reply.value());
            }
        });
    }

private:
    QDBusConnection connection_;
};

}  // namespace platform::qt
