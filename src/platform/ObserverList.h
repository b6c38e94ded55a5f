#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform {

/// The observers of notifications, each of one name. Observers may be added and removed during a call: an added one
/// gets the next notification, a removed one gets none. One thread.
template<typename Notification>
class ObserverList final {
public:
    using Callback = std::function<void(const Notification&)>;

    /// `observer` is only an identity. Adding twice calls twice.
    void add(const void* observer, const std::string& name, Callback callback) {
        registrations_.push_back(std::make_shared<Registration>(Registration{observer, name, std::move(callback)}));
    }

    /// Removes every registration of `observer`.
    void remove(const void* observer) {
        std::erase_if(registrations_, [observer](const auto& registration) {
            if (registration->observer != observer) {
                return false;
            }
            registration->isActive = false;
            return true;
        });
    }

    /// Calls the observers of the notification's name, in the order in which they were added.
    void call(const Notification& notification) const {
        const auto called = registrations_;
        for (const auto& registration : called) {
            if (registration->isActive && registration->name == notification.name) {
                registration->callback(notification);
            }
        }
    }

    /// How often observers have been added for the name, those removed not counted.
    std::size_t count(const std::string& name) const {
        return static_cast<std::size_t>(
            std::count_if(registrations_.begin(), registrations_.end(),
                          [&name](const auto& registration) { return registration->name == name; }));
    }

private:
    struct Registration {
        const void* observer;
        std::string name;
        Callback callback;
        bool isActive = true;
    };

    std::vector<std::shared_ptr<Registration>> registrations_;
};

}  // namespace platform
