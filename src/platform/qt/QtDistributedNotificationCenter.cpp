#include "platform/qt/QtDistributedNotificationCenter.h"

#include "platform/qt/EndingSignals.h"
#include "platform/qt/NotificationBus.h"

#include <QMetaObject>
#include <utility>

namespace platform::qt {

QtDistributedNotificationCenter::QtDistributedNotificationCenter(NotificationBus& bus) : bus_(bus) {
    bus_.setPostedHandler([this](const DistributedNotification& notification) { receive(notification); });
}

QtDistributedNotificationCenter::~QtDistributedNotificationCenter() {
    stopDelivering();
}

void QtDistributedNotificationCenter::addObserver(const void* observer, const std::string& name, Callback callback) {
    observers_.add(observer, name, std::move(callback));
    if (std::exchange(hasObservers_, true)) {
        return;
    }
    // Observers register one by one; kept notifications wait until all observers of this turn have registered.
    QMetaObject::invokeMethod(
        &queue_, [this] { deliverKept(); }, Qt::QueuedConnection);
}

void QtDistributedNotificationCenter::removeObserver(const void* observer) {
    observers_.remove(observer);
}

void QtDistributedNotificationCenter::postNotification(const DistributedNotification& notification) {
    bus_.post(notification);
}

void QtDistributedNotificationCenter::stopDelivering() {
    bus_.setPostedHandler(nullptr);
}

void QtDistributedNotificationCenter::receive(const DistributedNotification& notification) {
    if (EndingSignals::haveCome()) {
        // The process ends before it could act on this. A second launch that gets no acknowledgement keeps its
        // recording.
        return;
    }
    if (!isDeliveringAtOnce_) {
        kept_.push_back(notification);
        return;
    }
    observers_.call(notification);
}

void QtDistributedNotificationCenter::deliverKept() {
    isDeliveringAtOnce_ = true;
    const auto notifications = std::exchange(kept_, {});
    for (const auto& notification : notifications) {
        observers_.call(notification);
    }
}

}  // namespace platform::qt
