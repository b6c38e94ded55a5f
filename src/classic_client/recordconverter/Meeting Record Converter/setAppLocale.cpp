#include "setAppLocale.h"

#include "framework_art/commonmgr/LanguageManager.h"
#include "platform/IntegerReading.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "unifiedtram/unifiedtram.h"

#include <algorithm>
#include <string_view>

namespace {

std::int32_t languageFromArguments(int argc, const char* const argv[]) {
    // The last argument is never read: no value could follow it.
    for (int i = 1; i < argc - 1; ++i) {
        if (std::string_view(argv[i]) == kMeetingRecordLaunchParamKey_Locale) {
            return std::max(platform::integerReading(std::string_view(argv[i + 1])), 1);
        }
    }
    return 1;
}

}  // namespace

void setAppLocale(int argc, const char* const argv[]) {
    const std::int32_t language = languageFromArguments(argc, argv);
    MacInfoTrace2("RecordConverter", "[App setAppLocale:]: (%d)", language);
    LanguageManager::setActiveLanguage(language);
}
