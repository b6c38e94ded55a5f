#include "platform/qt/QtDistributedNotificationCenter.h"

#include "platform/ObserverList.h"
#include "platform/qt/EndingSignals.h"
#include "platform/qt/LaunchHandOver.h"
#include "platform/qt/NotificationBus.h"

#include <QMetaObject>
#include <utility>
#include <vector>

namespace platform::qt {

class QtDistributedNotificationCenter::Bus {
public:
    Bus() {
        connection.setPostedHandler([this](const DistributedNotification& notification, const QString& sender) {
            arrived(notification, sender);
        });
    }

    void addObserver(const void* observer, const std::string& name, Callback callback) {
        observers.add(observer, name, std::move(callback));
        if (std::exchange(hasObservers, true)) {
            return;
        }
        // Observers register one by one; kept notifications wait until all observers of this turn have registered.
        QMetaObject::invokeMethod(
            &connection, [this] { deliverKept(); }, Qt::QueuedConnection);
    }

    void arrived(const DistributedNotification& notification, const QString& sender) {
        if (handOver != nullptr) {
            handOver->receive(notification, sender);
        }
        // Our own offer comes back like every broadcast, perhaps after this process has become the one that converts.
        // The launch arguments announce the same recording, so this would start it twice.
        if (notification.name == offered && sender == connection.ownAddress()) {
            return;
        }
        if (EndingSignals::haveCome()) {
            // The process ends before it could act on this. A second launch that gets no acknowledgement keeps its
            // recording.
            return;
        }
        if (!isDeliveringAtOnce) {
            kept.push_back(notification);
            return;
        }
        observers.call(notification);
    }

    void deliverKept() {
        isDeliveringAtOnce = true;
        const auto notifications = std::exchange(kept, {});
        for (const auto& notification : notifications) {
            observers.call(notification);
        }
    }

    NotificationBus connection;
    ObserverList<DistributedNotification> observers;
    std::vector<DistributedNotification> kept;
    bool hasObservers = false;
    bool isDeliveringAtOnce = false;
    LaunchHandOver* handOver = nullptr;
    // The notification that was posted for another converter; empty if none was.
    std::string offered;
};

QtDistributedNotificationCenter::QtDistributedNotificationCenter() : bus_(std::make_unique<Bus>()) {}

QtDistributedNotificationCenter::~QtDistributedNotificationCenter() = default;

void QtDistributedNotificationCenter::addObserver(const void* observer, const std::string& name, Callback callback) {
    bus_->addObserver(observer, name, std::move(callback));
}

void QtDistributedNotificationCenter::removeObserver(const void* observer) {
    bus_->observers.remove(observer);
}

void QtDistributedNotificationCenter::postNotification(const DistributedNotification& notification) {
    bus_->connection.send(notification);
}

void QtDistributedNotificationCenter::stopDelivering() {
    bus_->connection.setPostedHandler(nullptr);
}

void QtDistributedNotificationCenter::flush() {
    bus_->connection.flush();
}

void QtDistributedNotificationCenter::afterDelivery(std::function<void()> then) {
    bus_->connection.afterDelivery(std::move(then));
}

void QtDistributedNotificationCenter::runOnBusThread(std::function<void()> work) {
    bus_->connection.runOnBusThread(std::move(work));
}

bool QtDistributedNotificationCenter::acquireName(const std::string& busName) {
    return bus_->connection.acquireName(QString::fromStdString(busName));
}

QtDistributedNotificationCenter::HandOver
QtDistributedNotificationCenter::handOver(const std::string& busName, const LaunchVocabulary& words,
                                          std::int32_t meetingProcessId, const std::optional<std::string>& path,
                                          const UserInfo& extras) {
    LaunchHandOver handOver(bus_->connection, QString::fromStdString(busName), words, meetingProcessId, path, extras);
    bus_->handOver = &handOver;
    bus_->offered = words.recordingStarted;
    const auto result = handOver.run();
    bus_->handOver = nullptr;
    return result;
}

}  // namespace platform::qt
