#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// The application's language, by number, and the preferred-languages setting that follows from it. No instances;
/// written once before the application starts, read afterwards. Main thread.
///
/// The mixed forms of the two getters' tables (names here, codes there) are what their readers know them by.
class LanguageManager {
public:
    LanguageManager() = delete;

    /// Remembers `language` as the active number, whatever it is. From 1 to 20 it also writes the setting
    /// "AppleLanguages" (the language's code, then "en" unless the number is 1), flushed to the disk, and answers
    /// true; any other number leaves the setting alone and answers false.
    static bool setActiveLanguage(std::int32_t language);

    /// The active number's name or code; absent when it is none of 1 to 20. Number 1 until one is set.
    static std::optional<std::string> getActiveLanguage();

    /// The active number's locale key for live-stream information; absent when it is none of 1 to 20.
    static std::optional<std::string> getActiveLanguageKeyForLiveStreamInfo();
};
