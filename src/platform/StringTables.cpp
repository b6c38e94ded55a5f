#include "platform/StringTables.h"

#include "platform/Standard.h"

namespace platform {

namespace {

class NoStringTables final : public StringTables {
public:
    std::string localizedString(const std::string& key, const std::string&) const override { return key; }
};

Standard<const StringTables> shared;

}  // namespace

const StringTables& StringTables::standard() {
    static const NoStringTables none;
    return shared.orElse(none);
}

void StringTables::setStandard(const StringTables* tables) {
    shared.install(tables);
}

}  // namespace platform
