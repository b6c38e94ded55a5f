#pragma once

#include "platform/Application.h"

#include <memory>
#include <utility>
#include <vector>

namespace test {

/// An application that records who asked it to end, and ends nothing.
class FakeApplication final : public platform::Application {
public:
    std::shared_ptr<platform::ApplicationDelegate> delegate() const override { return delegate_; }
    void setDelegate(std::shared_ptr<platform::ApplicationDelegate> delegate) { delegate_ = std::move(delegate); }

    void terminate(const platform::ApplicationDelegate* sender) override { terminateSenders_.push_back(sender); }

    /// One entry a terminate request, in order.
    const std::vector<const platform::ApplicationDelegate*>& terminateSenders() const { return terminateSenders_; }

private:
    std::shared_ptr<platform::ApplicationDelegate> delegate_;
    std::vector<const platform::ApplicationDelegate*> terminateSenders_;
};

}  // namespace test
