#include "platform/NotificationCenter.h"

#include <utility>

namespace platform {

const char* const WindowWillCloseNotification = "WindowWillCloseNotification";

void NotificationCenter::addObserver(const void* observer, const std::string& name, Callback callback) {
    observers_.add(observer, name, std::move(callback));
}

void NotificationCenter::removeObserver(const void* observer) {
    observers_.remove(observer);
}

void NotificationCenter::post(const Notification& notification) {
    observers_.call(notification);
}

}  // namespace platform
