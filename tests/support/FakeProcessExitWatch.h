#pragma once

#include "platform/ProcessExitWatch.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <utility>
#include <vector>

namespace test {

/// Every positive id names a living process until the test makes it exit.
class FakeProcessExitWatch final : public platform::ProcessExitWatch {
public:
    void watch(std::int32_t processId, std::function<void(std::int32_t)> exited) override;

    /// Like the real provider's: called from inside `watch` if the id names no process, or no longer does.
    void setGoneHandler(std::function<void(std::int32_t)> handler) { goneHandler_ = std::move(handler); }

    /// Ends the process: every watch on it fires once, in the order of arming. Later watches on it stay silent.
    void exit(std::int32_t processId);

    /// The id of each call of `watch`, in order.
    const std::vector<std::int32_t>& watched() const { return watched_; }

    /// Number of watches on the process that have not fired.
    std::size_t armedCount(std::int32_t processId) const;

private:
    struct Watch {
        std::int32_t processId;
        std::function<void(std::int32_t)> exited;
    };

    std::vector<std::int32_t> watched_;
    std::vector<Watch> armed_;
    std::set<std::int32_t> gone_;
    std::function<void(std::int32_t)> goneHandler_;
};

}  // namespace test
