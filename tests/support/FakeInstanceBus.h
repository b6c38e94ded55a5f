#pragma once

#include "platform/InstanceBus.h"

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// A bus on which other instances do what the test says. Records each call that reaches other processes, and the waits.
class FakeInstanceBus final : public platform::InstanceBus {
public:
    void setListener(Listener* listener) override { listener_ = listener; }
    bool hasListener() const { return listener_ != nullptr; }

    bool acquireName(const std::string& busName) override {
        calls.push_back("acquire " + busName);
        return owner.empty();
    }
    std::string ownerOf(const std::string&) const override { return owner; }
    std::optional<std::int32_t> processIdOf(const std::string& address) const override {
        const auto found = processes.find(address);
        return found == processes.end() ? std::nullopt : std::optional(found->second);
    }
    void postToOthers(const platform::DistributedNotification& notification) override {
        calls.push_back("post " + notification.name);
        posted.push_back(notification);
    }
    void flush() override { calls.push_back("flush"); }

    /// Lets the next events happen until one of them has stopped the wait; without any left, the time is up.
    void wait(std::chrono::milliseconds limit) override {
        calls.push_back("wait " + std::to_string(limit.count()));
        isWaiting_ = true;
        while (isWaiting_ && !events.empty()) {
            const auto event = std::move(events.front());
            events.pop_front();
            event(*listener_);
        }
        isWaiting_ = false;
    }
    void stopWaiting() override { isWaiting_ = false; }

    /// The address of the process that owns the name; empty if none does.
    std::string owner;
    std::map<std::string, std::int32_t> processes;
    std::deque<std::function<void(Listener&)>> events;
    std::vector<std::string> calls;
    std::vector<platform::DistributedNotification> posted;

private:
    Listener* listener_ = nullptr;
    bool isWaiting_ = false;
};

}  // namespace test
