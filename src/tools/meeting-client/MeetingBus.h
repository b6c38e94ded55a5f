#pragma once

#include "tools/meeting-client/Notification.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <chrono>
#include <functional>
#include <sys/types.h>
#include <vector>

/// A meeting client's connection to the user's bus: posts notifications and receives all that are posted. Main thread.
class MeetingBus : public QObject {
    Q_OBJECT

public:
    /// Connects and listens; receives everything that is posted after this has returned.
    MeetingBus();

    /// Whether there is a session bus; without one nothing is posted or received.
    bool isConnected() const { return connection_.isConnected(); }

    /// Whether a running converter owns its name on the bus.
    bool converterRuns() const;

    /// Called for each notification as it arrives, including our own.
    void setListener(std::function<void(const Notification&)> listener) { listener_ = std::move(listener); }

    /// Returns when the bus has accepted the notification.
    void post(const Notification& notification);

    /// Runs the event loop until `done` returns true, at most for `timeout` (forever if negative). Returns whether it
    /// did.
    bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);

    /// The converter that has acknowledged `name` to `pid` since the last `forget`, or 0.
    pid_t acknowledgedBy(const QString& name, pid_t pid) const;

    /// The converter that has confirmed its start to `pid` since the last `forget`, or 0.
    pid_t confirmedBy(pid_t pid) const;

    void forget() { received_.clear(); }

private:
    Q_SLOT void onPosted(const QDBusMessage& message);

    QDBusConnection connection_;
    std::function<void(const Notification&)> listener_;
    std::vector<Notification> received_;
};
