// Any argument list gives the values that a ten-line model gives, and any argument vector sets a language.
#include "Input.h"
#include "KTRAppLaunchingEnv.h"
#include "framework_art/commonmgr/LanguageManager.h"
#include "platform/IntegerReading.h"
#include "setAppLocale.h"
#include "support/FakeUserDefaults.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

const std::vector<std::string> options = {"-pid", "-pname", "-locale", "-path", "-keepsIntermediateFile"};

std::map<std::string, std::string> model(const std::vector<std::string>& arguments) {
    std::map<std::string, std::string> values;
    const std::string* pending = nullptr;
    for (const auto& argument : arguments) {
        const std::string* option = nullptr;
        for (const auto& each : options) {
            option = each == argument ? &each : option;
        }
        if (option != nullptr) {
            pending = option;
        } else if (pending != nullptr) {
            values[*pending] = argument;
            pending = nullptr;
        }
    }
    return values;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    std::vector<std::string> arguments;
    while (!input.isEmpty()) {
        const auto kind = input.byte();
        arguments.push_back(kind % 2 == 0 ? options[kind / 2 % options.size()] : input.cText());
    }

    KTRAppLaunchingEnv environment;
    environment.parseArguments(arguments);
    const auto expected = model(arguments);
    const std::optional<std::string> values[] = {environment.parentProcessId(), environment.parentProcessName(),
                                                 environment.localeId(), environment.filePath(),
                                                 environment.keepsIntermediateFile()};
    for (std::size_t i = 0; i < options.size(); ++i) {
        const auto found = expected.find(options[i]);
        fuzz::require(values[i] == (found == expected.end() ? std::nullopt : std::optional(found->second)),
                      "each option holds the last value that followed it");
        platform::integerReading(values[i]);
    }

    const test::FakeUserDefaults userDefaults;
    std::vector<const char*> vector;
    for (const auto& argument : arguments) {
        vector.push_back(argument.c_str());
    }
    vector.push_back(nullptr);
    setAppLocale(static_cast<int>(arguments.size()), vector.data());
    const bool written = !userDefaults.flushed().empty();
    fuzz::require(written == LanguageManager::getActiveLanguage().has_value(),
                  "the setting is written exactly for a language that has a name");
    return 0;
}
