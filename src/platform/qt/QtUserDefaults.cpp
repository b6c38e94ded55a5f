#include "platform/qt/QtUserDefaults.h"

#include <QDir>
#include <QSettings>
#include <QStringList>

namespace platform::qt {

struct QtUserDefaults::Settings {
    QSettings ini;
};

QtUserDefaults::QtUserDefaults(const std::string& file)
    : settings_(new Settings{QSettings(QFile::decodeName(file.c_str()), QSettings::IniFormat)}) {}

QtUserDefaults::~QtUserDefaults() = default;

std::string QtUserDefaults::standardFile() {
    auto folder = QFile::decodeName(qgetenv("XDG_CONFIG_HOME"));
    if (!folder.startsWith(QLatin1Char('/'))) {
        folder = QDir::homePath() + QLatin1String("/.config");
    }
    return QFile::encodeName(folder).toStdString() + "/record-converter/record-converter.conf";
}

void QtUserDefaults::setStringList(const std::string& key, const std::vector<std::string>& list) {
    // Most starts set the value that is already there; rewriting and syncing the file would only cost time.
    if (settings_->ini.contains(QString::fromStdString(key)) && stringList(key) == list) {
        return;
    }
    QStringList texts;
    for (const auto& text : list) {
        texts.append(QString::fromStdString(text));
    }
    settings_->ini.setValue(QString::fromStdString(key), texts);
}

std::vector<std::string> QtUserDefaults::stringList(const std::string& key) const {
    std::vector<std::string> list;
    const auto texts = settings_->ini.value(QString::fromStdString(key)).toStringList();
    for (const auto& text : texts) {
        list.push_back(text.toStdString());
    }
    return list;
}

bool QtUserDefaults::synchronize() {
    settings_->ini.sync();
    return settings_->ini.status() == QSettings::NoError;
}

}  // namespace platform::qt
