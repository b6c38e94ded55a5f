#pragma once

#include "platform/SystemLog.h"
#include "support/Sequence.h"

#include <mutex>
#include <string>
#include <vector>

namespace test {

/// Keeps the lines. Installs itself as the standard log for its lifetime.
class FakeSystemLog final : public platform::SystemLog {
public:
    FakeSystemLog() { setStandard(this); }
    ~FakeSystemLog() override { setStandard(nullptr); }
    FakeSystemLog(const FakeSystemLog&) = delete;
    FakeSystemLog& operator=(const FakeSystemLog&) = delete;

    void write(const std::string& text) override {
        Sequence::add("system log: " + text);
        const std::lock_guard lock(mutex_);
        lines_.push_back(text);
    }

    /// In order.
    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace test
