#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// The application's language, by number, and the preferred-languages setting derived from it. No instances. Written
/// once before the application starts, read afterwards. Main thread.
///
/// The values of the two getters mix names and codes because their callers expect exactly these values.
class LanguageManager {
public:
    LanguageManager() = delete;

    /// Stores `language` as the active number, whatever it is. For 1 to 20 it also writes the setting "AppleLanguages"
    /// (the language's code, then "en" unless the number is 1), flushes it to the disk, and returns true. Any other
    /// number leaves the setting alone and returns false.
    static bool setActiveLanguage(std::int32_t language);

    /// The name or code of the active number; absent if it is not one of 1 to 20. The number is 1 until set.
    static std::optional<std::string> getActiveLanguage();

    /// The locale key of the active number for live-stream information; absent if it is not one of 1 to 20.
    static std::optional<std::string> getActiveLanguageKeyForLiveStreamInfo();
};
