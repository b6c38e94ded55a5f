#include "platform/qt/FontLanguage.h"

#include <QString>
#include <cstdlib>
#include <map>

namespace platform::qt {

namespace {

constexpr const char* fontLanguageVariable = "FC_LANG";

bool isOurs = false;

}  // namespace

void drawLettersOf(const std::string& language) {
    static const std::map<std::string, const char*> fontLanguages = {
        {"zh-Hans", "zh-cn"}, {"zh-Hant", "zh-tw"}, {"ja", "ja"}, {"ko", "ko"}};
    const auto found = fontLanguages.find(language);
    if (found != fontLanguages.end() && std::getenv(fontLanguageVariable) == nullptr) {
        isOurs = setenv(fontLanguageVariable, found->second, 1) == 0;
    }
}

void forgetLettersIn(QProcessEnvironment& environment) {
    if (isOurs) {
        environment.remove(QString::fromLatin1(fontLanguageVariable));
    }
}

}  // namespace platform::qt
