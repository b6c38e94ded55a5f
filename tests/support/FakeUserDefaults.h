#pragma once

#include "platform/UserDefaults.h"
#include "support/Sequence.h"

#include <map>
#include <string>
#include <vector>

namespace test {

/// Settings in memory. Flushed settings are recorded separately, so that a test can tell a write from a flush. Installs
/// itself as the standard settings for its lifetime.
class FakeUserDefaults final : public platform::UserDefaults {
public:
    FakeUserDefaults() { setStandard(this); }
    ~FakeUserDefaults() override { setStandard(nullptr); }
    FakeUserDefaults(const FakeUserDefaults&) = delete;
    FakeUserDefaults& operator=(const FakeUserDefaults&) = delete;

    void setStringList(const std::string& key, const std::vector<std::string>& list) override {
        Sequence::add("user defaults: " + key);
        set_[key] = list;
    }

    std::vector<std::string> stringList(const std::string& key) const override {
        const auto found = set_.find(key);
        return found == set_.end() ? std::vector<std::string>() : found->second;
    }

    bool synchronize() override {
        flushed_ = set_;
        return true;
    }

    const std::map<std::string, std::vector<std::string>>& flushed() const { return flushed_; }

private:
    std::map<std::string, std::vector<std::string>> set_;
    std::map<std::string, std::vector<std::string>> flushed_;
};

}  // namespace test
