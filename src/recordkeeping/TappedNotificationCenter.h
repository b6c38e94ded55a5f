#pragma once

#include "platform/DistributedNotificationCenter.h"
#include "platform/ObserverList.h"

#include <functional>
#include <string>

namespace recordkeeping {

/// The application's notification center: forwards everything to and from the real one, lets its owner inspect each
/// notification before and after the application has handled it, and lets its owner send notifications to the
/// application as a meeting client does. Main thread.
class TappedNotificationCenter final : public platform::DistributedNotificationCenter {
public:
    using Hook = std::function<void(const platform::DistributedNotification&)>;

    /// `center` outlives this object.
    explicit TappedNotificationCenter(platform::DistributedNotificationCenter& center) : center_(center) {}

    void addObserver(const void* observer, const std::string& name, Callback callback) override;
    void removeObserver(const void* observer) override;
    void postNotification(const platform::DistributedNotification& notification) override;

    /// `before` runs before an observer gets a notification from the bus, `after` once it has returned.
    void setHooks(Hook before, Hook after);

    /// Delivers `notification` to the application's observers at once, without the hooks. Nothing that they post
    /// meanwhile reaches the bus, because no process waits for an acknowledgement.
    void speak(const platform::DistributedNotification& notification);

private:
    platform::DistributedNotificationCenter& center_;
    platform::ObserverList<platform::DistributedNotification> observers_;
    Hook before_;
    Hook after_;
    bool isSpeaking_ = false;
};

}  // namespace recordkeeping
