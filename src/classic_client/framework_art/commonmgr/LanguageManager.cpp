#include "framework_art/commonmgr/LanguageManager.h"

#include "platform/UserDefaults.h"

#include <array>
#include <vector>

namespace {

struct Language {
    const char* code;
    const char* name;
    const char* liveStreamKey;
};

/// By number; the first is 1.
constexpr std::array languages = {
    Language{"en", "English", "en_US"},    Language{"en", "English", "en_US"},  Language{"zh-Hans", "zh_CN", "zh_CN"},
    Language{"zh-Hant", "zh_TW", "zh_TW"}, Language{"ja", "Japanese", "ja_JP"}, Language{"ko", "ko", "ko_KR"},
    Language{"fr", "French", "fr_FR"},     Language{"fr", "French", "fr_FR"},   Language{"de", "German", "de_DE"},
    Language{"it", "Italian", "it_IT"},    Language{"es", "Spanish", "es_SP"},  Language{"es_419", "es_419", "es_ES"},
    Language{"sv", "sv", "sv_SE"},         Language{"nl", "Dutch", "en_US"},    Language{"pt", "pt", "pt_BR"},
    Language{"ru", "ru", "ru_RU"},         Language{"tr", "tr", "tr_TR"},       Language{"da", "da", "da_DK"},
    Language{"fi", "fi", "en_US"},         Language{"pl", "pl", "en_US"},
};

constexpr auto languageCount = static_cast<std::int32_t>(languages.size());

std::int32_t appLanguage = 1;

/// Null for a number outside the table.
const Language* languageOf(std::int32_t language) {
    return language >= 1 && language <= languageCount ? &languages.at(static_cast<std::size_t>(language) - 1) : nullptr;
}

std::optional<std::string> textOfActive(const char* Language::*text) {
    const Language* const language = languageOf(appLanguage);
    return language != nullptr ? std::optional<std::string>(language->*text) : std::nullopt;
}

}  // namespace

bool LanguageManager::setActiveLanguage(std::int32_t language) {
    appLanguage = language;
    const Language* const known = languageOf(language);
    // An empty code stands for a language that leaves the user's setting unchanged.
    if (known == nullptr || *known->code == '\0') {
        return false;
    }
    std::vector<std::string> preferred{known->code};
    if (language != 1) {
        preferred.emplace_back("en");
    }
    auto& defaults = platform::UserDefaults::standard();
    defaults.setStringList(platform::preferredLanguagesKey, preferred);
    defaults.synchronize();
    return true;
}

std::optional<std::string> LanguageManager::getActiveLanguage() {
    return textOfActive(&Language::name);
}

std::optional<std::string> LanguageManager::getActiveLanguageKeyForLiveStreamInfo() {
    return textOfActive(&Language::liveStreamKey);
}
