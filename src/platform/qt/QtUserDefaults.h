#pragma once

#include "platform/UserDefaults.h"

#include <memory>
#include <string>

namespace platform::qt {

/// The user's settings in an INI file that people can read and edit. Usable before the application object exists.
class QtUserDefaults final : public UserDefaults {
public:
    /// `file` is created, with its folders, on the first write.
    explicit QtUserDefaults(const std::string& file = standardFile());
    ~QtUserDefaults() override;

    /// `$XDG_CONFIG_HOME/record-converter/record-converter.conf`; `~/.config` is used if the variable is unset or not
    /// an absolute path.
    static std::string standardFile();

    void setStringList(const std::string& key, const std::vector<std::string>& list) override;
    std::vector<std::string> stringList(const std::string& key) const override;
    bool synchronize() override;

private:
    struct Settings;
    const std::unique_ptr<Settings> settings_;
};

}  // namespace platform::qt
