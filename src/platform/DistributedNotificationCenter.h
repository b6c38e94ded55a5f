#pragma once

#include "platform/UserInfo.h"

#include <functional>
#include <optional>
#include <string>

namespace platform {

/// A notification on the user's bus: a name, an optional sender text, optional plain values.
struct DistributedNotification {
    std::string name;
    std::optional<std::string> object;
    std::optional<UserInfo> userInfo;
};

/// A broadcast bus of one logged-in user: every process that observes a name receives each notification of that name,
/// on its main thread, one at a time, in the order in which one sender posted them. Main thread only.
class DistributedNotificationCenter {
public:
    using Callback = std::function<void(const DistributedNotification&)>;

    virtual ~DistributedNotificationCenter() = default;

    /// Calls `callback` for every notification named `name`, whatever its sender object, until `observer` is removed.
    /// `observer` is only an identity. Registering twice delivers twice. Never calls back from inside this call.
    virtual void addObserver(const void* observer, const std::string& name, Callback callback) = 0;

    /// Removes every registration of `observer`; none of its callbacks runs afterwards.
    virtual void removeObserver(const void* observer) = 0;

    /// Sends to every observer in every process of this user, including this one, for immediate delivery. A
    /// notification that cannot be sent is lost without an error: the bus does not guarantee delivery.
    virtual void postNotification(const DistributedNotification& notification) = 0;
};

}  // namespace platform
