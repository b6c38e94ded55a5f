#include "support/FakeDistributedNotificationCenter.h"

#include "support/Sequence.h"

#include <utility>

namespace test {

void FakeDistributedNotificationCenter::addObserver(const void* observer, const std::string& name, Callback callback) {
    Sequence::add("distributed center: observe " + name);
    observers_.add(observer, name, std::move(callback));
}

void FakeDistributedNotificationCenter::removeObserver(const void* observer) {
    observers_.remove(observer);
}

void FakeDistributedNotificationCenter::postNotification(const platform::DistributedNotification& notification) {
    Sequence::add("distributed center: post " + notification.name);
    posted_.push_back(notification);
    undelivered_.push_back(notification);
    if (onPost_) {
        onPost_(notification);
    }
}

void FakeDistributedNotificationCenter::deliver(const platform::DistributedNotification& notification) {
    observers_.call(notification);
}

void FakeDistributedNotificationCenter::deliverPosted() {
    const auto notifications = std::exchange(undelivered_, {});
    for (const auto& notification : notifications) {
        deliver(notification);
    }
}

void FakeDistributedNotificationCenter::clearPosted() {
    posted_.clear();
    undelivered_.clear();
}

}  // namespace test
