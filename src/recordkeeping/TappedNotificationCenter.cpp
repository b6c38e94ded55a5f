#include "recordkeeping/TappedNotificationCenter.h"

#include <utility>

namespace recordkeeping {

void TappedNotificationCenter::addObserver(const void* observer, const std::string& name, Callback callback) {
    const auto registration = std::make_shared<Registration>(Registration{observer, name, std::move(callback)});
    registrations_.push_back(registration);
    center_.addObserver(observer, name, [this, registration](const platform::DistributedNotification& notification) {
        if (before_) {
            before_(notification);
        }
        registration->callback(notification);
        if (after_) {
            after_(notification);
        }
    });
}

void TappedNotificationCenter::removeObserver(const void* observer) {
    std::erase_if(registrations_, [=](const auto& registration) { return registration->observer == observer; });
    center_.removeObserver(observer);
}

void TappedNotificationCenter::postNotification(const platform::DistributedNotification& notification) {
    if (!isSpeaking_) {
        center_.postNotification(notification);
    }
}

void TappedNotificationCenter::setHooks(Hook before, Hook after) {
    before_ = std::move(before);
    after_ = std::move(after);
}

void TappedNotificationCenter::speak(const platform::DistributedNotification& notification) {
    const bool wasSpeaking = std::exchange(isSpeaking_, true);
    // Observers may be added and removed during the calls.
    const auto called = registrations_;
    for (const auto& registration : called) {
        if (registration->name == notification.name) {
            registration->callback(notification);
        }
    }
    isSpeaking_ = wasSpeaking;
}

}  // namespace recordkeeping
