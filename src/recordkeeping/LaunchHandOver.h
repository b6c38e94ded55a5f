#pragma once

#include "platform/InstanceBus.h"

#include <cstdint>
#include <string>
#include <vector>

namespace recordkeeping {

/// A launch that has found another converter running, and passes its arguments to it as a meeting client does. Main
/// thread.
class LaunchHandOver final : private platform::InstanceBus::Listener {
public:
    enum class Outcome {
        done,          ///< the running converter has it: end this process
        becamePrimary  ///< no converter is left, and this process now owns the name: continue
    };

    /// `arguments` are those of this launch. `bus` outlives this object, which is its listener.
    LaunchHandOver(platform::InstanceBus& bus, const std::vector<std::string>& arguments);
    ~LaunchHandOver() override;

    LaunchHandOver(const LaunchHandOver&) = delete;
    LaunchHandOver& operator=(const LaunchHandOver&) = delete;

    /// Posts the recording-started notification if there is a meeting process (without a path if there is none), waits
    /// up to 5 s for its acknowledgement, then posts the spawn confirmation on behalf of the running converter and
    /// flushes the bus. If that converter leaves the bus before it has acknowledged, this process takes its place. If
    /// it stays silent, the notification is assumed to wait in its queue, and the system log reports this.
    Outcome run();

private:
    enum class Answer { none, acknowledged, ownerLeft, busLost };

    void notificationArrived(const platform::DistributedNotification& notification, const std::string& sender) override;
    void malformedArrived(const std::string&, const std::string&) override {}
    void ownerLeft(const std::string& busName, const std::string& owner) override;
    void busLost() override;

    Answer offerRecording();
    void confirmSpawn(std::int32_t ownerProcessId);
    void finish(Answer answer);

    platform::InstanceBus& bus_;
    std::int32_t meetingProcessId_ = 0;
    platform::UserInfo recording_;
    std::string owner_;
    Answer answer_ = Answer::none;
};

}  // namespace recordkeeping
