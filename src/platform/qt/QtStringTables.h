#pragma once

#include "platform/StringTables.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace platform {
class UserDefaults;
}

namespace platform::qt {

/// Tables compiled by Qt Linguist: `<folder>/<table>_<language>.qm`, with the table's name as their context. The
/// language is the first one in the settings' "AppleLanguages" list that has such a table; "en" needs none, because its
/// texts are the keys. Usable before the application object exists.
class QtStringTables final : public StringTables {
public:
    /// `defaults` outlives this object.
    QtStringTables(const UserDefaults& defaults, std::string folder);
    ~QtStringTables() override;

    std::string localizedString(const std::string& key, const std::string& table) const override;

private:
    struct Table;

    const Table& loaded(const std::string& table) const;

    const UserDefaults& defaults_;
    const std::string folder_;
    mutable std::vector<std::string> languages_;
    mutable std::map<std::string, std::unique_ptr<Table>> tables_;
};

}  // namespace platform::qt
