#pragma once

#include "platform/ObserverList.h"

#include <string>

namespace platform {

/// Posted by a window that is about to close, on the main thread, with the window itself as the object.
extern const char* const WindowWillCloseNotification;

/// A notification within this process. `object` is the sender's identity and is never dereferenced by the center.
struct Notification {
    std::string name;
    const void* object = nullptr;
};

/// Carries notifications between objects of this process that do not know each other. Main thread only.
class NotificationCenter {
public:
    using Callback = ObserverList<Notification>::Callback;

    /// Calls `callback` for every notification named `name`, from any object, until `observer` is removed.
    void addObserver(const void* observer, const std::string& name, Callback callback);

    /// Removes every registration of `observer`, even from inside one of its callbacks.
    void removeObserver(const void* observer);

    /// Calls the observers of that name in the order of registration, before it returns.
    void post(const Notification& notification);

private:
    ObserverList<Notification> observers_;
};

}  // namespace platform
