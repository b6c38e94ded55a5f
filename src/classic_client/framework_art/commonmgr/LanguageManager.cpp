#include "framework_art/commonmgr/LanguageManager.h"

#include "platform/UserDefaults.h"

#include <array>
#include <vector>

namespace {

constexpr std::int32_t languageCount = 20;

using LanguageTable = std::array<const char*, languageCount>;

constexpr LanguageTable lgname = {"en", "en",     "zh-Hans", "zh-Hant", "ja", "ko", "fr", "fr", "de", "it",
                                  "es", "es_419", "sv",      "nl",      "pt", "ru", "tr", "da", "fi", "pl"};

constexpr LanguageTable languageNames = {"English", "English", "zh_CN",   "zh_TW",   "Japanese", "ko", "French",
                                         "French",  "German",  "Italian", "Spanish", "es_419",   "sv", "Dutch",
                                         "pt",      "ru",      "tr",      "da",      "fi",       "pl"};

constexpr LanguageTable liveStreamKeys = {"en_US", "en_US", "zh_CN", "zh_TW", "ja_JP", "ko_KR", "fr_FR",
                                          "fr_FR", "de_DE", "it_IT", "es_SP", "es_ES", "sv_SE", "en_US",
                                          "pt_BR", "ru_RU", "tr_TR", "da_DK", "en_US", "en_US"};

std::int32_t appLanguage = 1;

/// Null for a number outside the table.
const char* entryForLanguage(const LanguageTable& table, std::int32_t language) {
    return language >= 1 && language <= languageCount ? table.at(static_cast<std::size_t>(language) - 1) : nullptr;
}

std::optional<std::string> activeEntry(const LanguageTable& table) {
    const char* const entry = entryForLanguage(table, appLanguage);
    return entry != nullptr ? std::optional<std::string>(entry) : std::nullopt;
}

}  // namespace

bool LanguageManager::setActiveLanguage(std::int32_t language) {
    appLanguage = language;
    const char* const code = entryForLanguage(lgname, language);
    // An empty code stands for a language that leaves the user's setting unchanged.
    if (code == nullptr || *code == '\0') {
        return false;
    }
    std::vector<std::string> languages{code};
    if (language != 1) {
        languages.emplace_back("en");
    }
    auto& defaults = platform::UserDefaults::standard();
    defaults.setStringList(platform::preferredLanguagesKey, languages);
    defaults.synchronize();
    return true;
}

std::optional<std::string> LanguageManager::getActiveLanguage() {
    return activeEntry(languageNames);
}

std::optional<std::string> LanguageManager::getActiveLanguageKeyForLiveStreamInfo() {
    return activeEntry(liveStreamKeys);
}
