#pragma once

#include <string>
#include <vector>

namespace platform {

/// The setting that lists the codes of the user's preferred languages, the most preferred first.
inline constexpr char preferredLanguagesKey[] = "AppleLanguages";

/// The user's lasting settings for this application. Main thread.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    virtual void setStringList(const std::string& key, const std::vector<std::string>& list) = 0;

    /// Empty if the key is absent or holds no list.
    virtual std::vector<std::string> stringList(const std::string& key) const = 0;

    /// Writes all changes to the disk before it returns; false if that failed.
    virtual bool synchronize() = 0;

    /// The settings that the provider installed; by default settings that last only as long as the process.
    static UserDefaults& standard();

    /// Installs `defaults`, which must outlive every use; null removes it.
    static void setStandard(UserDefaults* defaults);
};

}  // namespace platform
