#include "support/FakeDistributedNotificationCenter.h"

#include "support/Sequence.h"

#include <algorithm>
#include <utility>

namespace test {

void FakeDistributedNotificationCenter::addObserver(const void* observer, const std::string& name, Callback callback) {
    Sequence::add("distributed center: observe " + name);
    registrations_.push_back(std::make_shared<Registration>(Registration{observer, name, std::move(callback)}));
}

void FakeDistributedNotificationCenter::removeObserver(const void* observer) {
    std::erase_if(registrations_, [&](const auto& registration) {
        if (registration->observer != observer) {
            return false;
        }
        registration->active = false;
        return true;
    });
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
    // Observers may be added and removed during the calls.
    const auto registrations = registrations_;
    for (const auto& registration : registrations) {
        if (registration->active && registration->name == notification.name) {
            registration->callback(notification);
        }
    }
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

std::size_t FakeDistributedNotificationCenter::observerCount(const std::string& name) const {
    return static_cast<std::size_t>(
        std::count_if(registrations_.begin(), registrations_.end(),
                      [&](const auto& registration) { return registration->name == name; }));
}

}  // namespace test
