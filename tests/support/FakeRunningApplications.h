#pragma once

#include "platform/RunningApplications.h"

#include <cstdint>
#include <set>
#include <vector>

namespace test {

/// The processes that the test adds are running.
class FakeRunningApplications final : public platform::RunningApplications {
public:
    void start(std::int32_t processId) { running_.insert(processId); }
    void end(std::int32_t processId) { running_.erase(processId); }

    bool isRunning(std::int32_t processId) const override {
        asked_.push_back(processId);
        return running_.contains(processId);
    }

    /// In order.
    const std::vector<std::int32_t>& asked() const { return asked_; }

private:
    std::set<std::int32_t> running_;
    mutable std::vector<std::int32_t> asked_;
};

}  // namespace test
