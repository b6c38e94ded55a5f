#pragma once

#include "platform/InstanceBus.h"

#include <string>
#include <vector>

namespace recordkeeping {

/// Writes the mistakes of meeting clients to the system log, as warnings, with their sender and what to do instead; a
/// line that was the last one already is not repeated. Main thread.
class MistakeLog final : public platform::InstanceBus::Listener {
public:
    /// `bus` outlives this object.
    explicit MistakeLog(const platform::InstanceBus& bus) : bus_(bus) {}

    /// The first of `arguments` is the program.
    void noteLaunch(const std::vector<std::string>& arguments);

    void notificationArrived(const platform::DistributedNotification& notification, const std::string& sender) override;
    void malformedArrived(const std::string& signature, const std::string& sender) override;
    void ownerLeft(const std::string&, const std::string&) override {}
    void busLost() override {}

private:
    std::string describedSender(const std::string& sender) const;
    void write(const std::string& line);

    const platform::InstanceBus& bus_;
    std::string last_;
};

}  // namespace recordkeeping
