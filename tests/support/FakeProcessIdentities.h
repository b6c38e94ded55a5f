#pragma once

#include "platform/ProcessIdentity.h"

#include <map>

namespace test {

/// Processes that live exactly while the test says so; each start gives an id a new start time.
class FakeProcessIdentities final : public platform::ProcessIdentities {
public:
    platform::ProcessIdentity identityOf(std::int32_t processId) const override {
        const auto found = startTimes_.find(processId);
        return {processId, found == startTimes_.end() ? 0 : found->second, bootId_};
    }

    bool isAlive(const platform::ProcessIdentity& identity) const override {
        return identity.startTime != 0 && identity == identityOf(identity.processId);
    }

    void start(std::int32_t processId) { startTimes_[processId] = ++lastStartTime_; }
    void end(std::int32_t processId) { startTimes_.erase(processId); }

    /// Ends every process and reboots the machine.
    void reboot() {
        startTimes_.clear();
        bootId_ += "'";
        lastStartTime_ = 0;
    }

private:
    std::map<std::int32_t, std::uint64_t> startTimes_;
    std::uint64_t lastStartTime_ = 0;
    std::string bootId_ = "boot";
};

}  // namespace test
