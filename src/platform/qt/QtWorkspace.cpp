#include "platform/qt/QtWorkspace.h"

#include "platform/SystemLog.h"

#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace platform::qt {

namespace {

bool startOpener(const QString& opener, const std::string& url) {
    QProcess process;
    process.setProgram(opener);
    process.setArguments({QString::fromStdString(url)});
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

}  // namespace

bool QtWorkspace::openURL(const FileURL& url) {
    const auto encoded = url.absoluteString();
    const auto opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    const bool isAsked = opener.isEmpty()
                             ? QDesktopServices::openUrl(QUrl::fromEncoded(encoded.c_str(), QUrl::StrictMode))
                             : startOpener(opener, encoded);
    if (!isAsked) {
        SystemLog::standard().write("nothing on this desktop could be asked to open " + encoded);
    }
    return isAsked;
}

}  // namespace platform::qt
