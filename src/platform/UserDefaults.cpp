#include "platform/UserDefaults.h"

#include "platform/Standard.h"

#include <map>

namespace platform {

namespace {

class MemoryUserDefaults final : public UserDefaults {
public:
    void setStringList(const std::string& key, const std::vector<std::string>& list) override { lists_[key] = list; }

    std::vector<std::string> stringList(const std::string& key) const override {
        const auto found = lists_.find(key);
        return found == lists_.end() ? std::vector<std::string>() : found->second;
    }

    bool synchronize() override { return true; }

private:
    std::map<std::string, std::vector<std::string>> lists_;
};

Standard<UserDefaults> shared;

}  // namespace

UserDefaults& UserDefaults::standard() {
    static MemoryUserDefaults memory;
    return shared.orElse(memory);
}

void UserDefaults::setStandard(UserDefaults* defaults) {
    shared.install(defaults);
}

}  // namespace platform
