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

    /// In order.
    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

    /// Of each line.
    std::vector<platform::Severity> severities() const {
        const std::lock_guard lock(mutex_);
        return severities_;
    }

private:
    void writeLine(const std::string& text, platform::Severity severity) override {
        Sequence::add("system log: " + text);
        const std::lock_guard lock(mutex_);
        lines_.push_back(text);
        severities_.push_back(severity);
    }

    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    std::vector<platform::Severity> severities_;
};

}  // namespace test
