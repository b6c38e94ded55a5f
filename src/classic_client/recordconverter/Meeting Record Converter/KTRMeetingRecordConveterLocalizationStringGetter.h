#pragma once

#include <string>

/// Looks texts up in the application's table "Localizable", in the preferred language. Main thread.
class KTRMeetingRecordConveterLocalizationStringGetter {
public:
    KTRMeetingRecordConveterLocalizationStringGetter() = delete;

    /// The text for `key`; `key` itself, which is the English text, if there is no translation.
    static std::string getLocalizationString(const std::string& key);
};
