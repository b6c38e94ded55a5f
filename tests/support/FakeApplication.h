#pragma once

#include "platform/Application.h"
#include "support/Sequence.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace test {

/// An application that records each request to terminate, and ends nothing.
class FakeApplication final : public platform::Application {
public:
    std::shared_ptr<platform::ApplicationDelegate> delegate() const override { return delegate_; }
    void setDelegate(std::shared_ptr<platform::ApplicationDelegate> delegate) { delegate_ = std::move(delegate); }

    void terminate(const platform::ApplicationDelegate* sender) override {
        Sequence::add("application: terminate");
        if (terminationCheck_ && !terminationCheck_()) {
            ++declinedCount_;
            return;
        }
        terminateSenders_.push_back(sender);
    }

    /// Without a check every request is granted.
    void setTerminationCheck(std::function<bool()> check) { terminationCheck_ = std::move(check); }

    std::size_t declinedCount() const { return declinedCount_; }

    /// The sender of each granted request, in order.
    const std::vector<const platform::ApplicationDelegate*>& terminateSenders() const { return terminateSenders_; }

private:
    std::shared_ptr<platform::ApplicationDelegate> delegate_;
    std::function<bool()> terminationCheck_;
    std::size_t declinedCount_ = 0;
    std::vector<const platform::ApplicationDelegate*> terminateSenders_;
};

}  // namespace test
