#include "platform/NotificationCenter.h"

#include <algorithm>
#include <utility>

namespace platform {

const char* const WindowWillCloseNotification = "WindowWillCloseNotification";

void NotificationCenter::addObserver(const void* observer, const std::string& name, Callback callback) {
    registrations_.push_back({observer, name, std::move(callback)});
}

void NotificationCenter::removeObserver(const void* observer) {
    std::erase_if(registrations_, [observer](const Registration& each) { return each.observer == observer; });
}

void NotificationCenter::post(const Notification& notification) {
    // An observer may add or remove observers: iterate over a copy, and skip those that were removed meanwhile.
    const auto registered = registrations_;
    for (const auto& each : registered) {
        const bool stillThere = std::any_of(registrations_.begin(), registrations_.end(), [&each](const auto& one) {
            return one.observer == each.observer && one.name == each.name;
        });
        if (stillThere && each.name == notification.name) {
            each.callback(notification);
        }
    }
}

}  // namespace platform
