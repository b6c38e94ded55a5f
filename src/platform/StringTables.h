#pragma once

#include <string>

namespace platform {

/// The application's translated texts, in the language that the user's settings prefer. Main thread.
class StringTables {
public:
    virtual ~StringTables() = default;

    /// The text for `key` in the table named `table`; `key` itself if there is no such table or it lacks the key.
    virtual std::string localizedString(const std::string& key, const std::string& table) const = 0;

    /// The tables that the provider installed; by default every text is its key.
    static const StringTables& standard();

    /// Installs `tables`, which must outlive every use; null removes them.
    static void setStandard(const StringTables* tables);
};

}  // namespace platform
