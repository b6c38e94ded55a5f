#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QObject>
#include <QString>
#include <utility>

namespace platform::qt {

/// A connection to a bus for one purpose, closed with the object: whatever the bus's services have granted to it ends
/// then. Not connected where there is no such bus. Main thread.
class PrivateConnection final {
public:
    /// `purpose` tells it from the process's other connections.
    PrivateConnection(QDBusConnection::BusType bus, const QString& purpose);
    ~PrivateConnection();

    PrivateConnection(const PrivateConnection&) = delete;
    PrivateConnection& operator=(const PrivateConnection&) = delete;

    bool isConnected() const { return connection_.isConnected(); }
    QDBusConnection& bus() { return connection_; }

    /// Sends `question`, which never starts a service, and calls `answered` with its one value when a valid answer has
    /// come: later, from the event loop. An error, or the end of `asker`, and it is not called.
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
