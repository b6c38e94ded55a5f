#pragma once

#include "platform/StringTables.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// Tables that the test fills. Installs itself as the standard tables for its lifetime.
class FakeStringTables final : public platform::StringTables {
public:
    struct Lookup {
        std::string key;
        std::string table;

        friend bool operator==(const Lookup&, const Lookup&) = default;
    };

    FakeStringTables() { setStandard(this); }
    ~FakeStringTables() override { setStandard(nullptr); }
    FakeStringTables(const FakeStringTables&) = delete;
    FakeStringTables& operator=(const FakeStringTables&) = delete;

    void setText(const std::string& key, const std::string& table, const std::string& text) {
        texts_[{table, key}] = text;
    }

    std::string localizedString(const std::string& key, const std::string& table) const override {
        lookups_.push_back({key, table});
        const auto found = texts_.find({table, key});
        return found == texts_.end() ? key : found->second;
    }

    /// In order.
    const std::vector<Lookup>& lookups() const { return lookups_; }

private:
    std::map<std::pair<std::string, std::string>, std::string> texts_;
    mutable std::vector<Lookup> lookups_;
};

}  // namespace test
