#pragma once

#include "platform/DistributedNotificationCenter.h"
#include "platform/ObserverList.h"

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// A bus of one process. Records what is posted; as on a real bus, it reaches this process's own observers later: when
/// the test calls `deliverPosted`.
class FakeDistributedNotificationCenter final : public platform::DistributedNotificationCenter {
public:
    void addObserver(const void* observer, const std::string& name, Callback callback) override;
    void removeObserver(const void* observer) override;
    void postNotification(const platform::DistributedNotification& notification) override;

    /// Calls the observers of the notification's name now, as if it had come from another process.
    void deliver(const platform::DistributedNotification& notification);

    /// Delivers what was posted and not delivered yet, in order.
    void deliverPosted();

    /// Everything posted so far, in order.
    const std::vector<platform::DistributedNotification>& posted() const { return posted_; }
    void clearPosted();

    /// Called for each post, after it was recorded.
    void setOnPost(std::function<void(const platform::DistributedNotification&)> onPost) {
        onPost_ = std::move(onPost);
    }

    std::size_t observerCount(const std::string& name) const { return observers_.count(name); }

private:
    platform::ObserverList<platform::DistributedNotification> observers_;
    std::vector<platform::DistributedNotification> posted_;
    std::vector<platform::DistributedNotification> undelivered_;
    std::function<void(const platform::DistributedNotification&)> onPost_;
};

}  // namespace test
