#include "platform/StringTables.h"

namespace platform {

namespace {

class NoStringTables final : public StringTables {
public:
    std::string localizedString(const std::string& key, const std::string&) const override { return key; }
};

const StringTables* installed = nullptr;

}  // namespace

const StringTables& StringTables::standard() {
    static const NoStringTables none;
    if (installed != nullptr) {
        return *installed;
    }
    return none;
}

void StringTables::setStandard(const StringTables* tables) {
    installed = tables;
}

}  // namespace platform
