#include "KTRMeetingRecordConveterLocalizationStringGetter.h"

#include "platform/StringTables.h"

std::string KTRMeetingRecordConveterLocalizationStringGetter::getLocalizationString(const std::string& key) {
    return platform::StringTables::standard().localizedString(key, "Localizable");
}
