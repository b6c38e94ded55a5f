#pragma once

#include "platform/DistributedNotificationCenter.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// The user's bus as instances of one program use it to find and address each other: one of them owns the program's
/// name. Main thread.
class InstanceBus {
public:
    /// Called from the event loop.
    class Listener {
    public:
        virtual ~Listener() = default;

        /// `sender` is the address of the process that has posted it.
        virtual void notificationArrived(const DistributedNotification& notification, const std::string& sender) = 0;

        /// Something was posted whose arguments do not have the types of a notification; `signature` has theirs. Nobody
        /// else gets it.
        virtual void malformedArrived(const std::string& signature, const std::string& sender) = 0;

        /// The process with the address `owner` owns the name no longer.
        virtual void ownerLeft(const std::string& busName, const std::string& owner) = 0;

        virtual void busLost() = 0;
    };

    virtual ~InstanceBus() = default;

    /// `listener` gets every notification, and what happens to the last name that was asked for; null for none.
    virtual void setListener(Listener* listener) = 0;

    /// Takes `busName` for this process, or leaves it to the process that owns it. True if this process owns it, or if
    /// there is no bus.
    virtual bool acquireName(const std::string& busName) = 0;

    /// The address of the name's owner; empty if there is none.
    virtual std::string ownerOf(const std::string& busName) const = 0;

    /// The id of the process with this address; absent if it has left the bus.
    virtual std::optional<std::int32_t> processIdOf(const std::string& address) const = 0;

    /// Posts to every other process. This one does not receive it, nor any later one of that name from itself.
    virtual void postToOthers(const DistributedNotification& notification) = 0;

    /// Returns once the bus has accepted everything that was posted, or after one second.
    virtual void flush() = 0;

    /// Runs the event loop until `stopWaiting`, at most for `limit`.
    virtual void wait(std::chrono::milliseconds limit) = 0;
    virtual void stopWaiting() = 0;
};

}  // namespace platform
