#include "platform/qt/QtStringTables.h"

#include "platform/UserDefaults.h"

#include <QFile>
#include <QTranslator>
#include <utility>

namespace platform::qt {

namespace {

constexpr const char* languageOfKeys = "en";

}  // namespace

struct QtStringTables::Table {
    // Empty for the language of the keys, and if no language has a table.
    QTranslator translator;
};

QtStringTables::QtStringTables(const UserDefaults& defaults, std::string folder)
    : defaults_(defaults), folder_(std::move(folder)) {}

QtStringTables::~QtStringTables() = default;

const QtStringTables::Table& QtStringTables::loaded(const std::string& table) const {
    auto languages = defaults_.stringList(preferredLanguagesKey);
    if (languages != languages_) {
        languages_ = std::move(languages);
        tables_.clear();
    }
    auto& slot = tables_[table];
    if (slot) {
        return *slot;
    }
    slot = std::make_unique<Table>();
    for (const auto& language : languages_) {
        if (language == languageOfKeys) {
            break;
        }
        // Anyone can edit the settings: a language must never lead out of the folder.
        if (language.find('/') != std::string::npos) {
            continue;
        }
        std::string path = folder_;
        path.append("/").append(table).append("_").append(language).append(".qm");
        const auto file = QFile::decodeName(path.c_str());
        // Checked first, because `load` would otherwise try shorter names, including the table of another region.
        if (QFile::exists(file) && slot->translator.load(file)) {
            break;
        }
    }
    return *slot;
}

std::string QtStringTables::localizedString(const std::string& key, const std::string& table) const {
    const auto text = loaded(table).translator.translate(table.c_str(), key.c_str());
    return text.isNull() ? key : text.toStdString();
}

}  // namespace platform::qt
