#include "recordkeeping/TappedNotificationCenter.h"

#include <utility>

namespace recordkeeping {

void TappedNotificationCenter::addObserver(const void* observer, const std::string& name, Callback callback) {
    observers_.add(observer, name, callback);
    center_.addObserver(observer, name,
                        [this, callback = std::move(callback)](const platform::DistributedNotification& notification) {
                            if (before_) {
                                before_(notification);
                            }
                            callback(notification);
                            if (after_) {
                                after_(notification);
                            }
                        });
}

void TappedNotificationCenter::removeObserver(const void* observer) {
    observers_.remove(observer);
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
    observers_.call(notification);
    isSpeaking_ = wasSpeaking;
}

}  // namespace recordkeeping
