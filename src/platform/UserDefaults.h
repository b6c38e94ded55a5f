#pragma once

#include <string>
#include <vector>

namespace platform {

/// The user's lasting settings for this application. Main thread.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    virtual void setStringList(const std::string& key, const std::vector<std::string>& list) = 0;

    /// Empty when the key is absent or holds none.
    virtual std::vector<std::string> stringList(const std::string& key) const = 0;

    /// Puts what was set on the disk before it returns; false when that failed.
    virtual bool synchronize() = 0;

    /// The settings that the provider installed; until then settings that last only as long as the process.
    static UserDefaults& standard();

    /// Installs `defaults`, which must outlive every use; null takes it back.
    static void setStandard(UserDefaults* defaults);
};

}  // namespace platform
