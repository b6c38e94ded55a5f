#include "platform/qt/QtWorkspace.h"

#include "platform/SystemLog.h"
#include "platform/qt/ActivationToken.h"
#include "platform/qt/FontLanguage.h"
#include "platform/qt/PrivateConnection.h"
#include "platform/qt/SessionBus.h"

#include <QDBusConnectionInterface>
#include <QDesktopServices>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QUrl>

namespace platform::qt {

namespace {

QProcessEnvironment environmentOfOpened() {
    auto environment = QProcessEnvironment::systemEnvironment();
    forgetBusSettingsIn(environment);
    forgetLettersIn(environment);
    if (const auto token = takeActivationToken(); !token.isEmpty()) {
        environment.insert(QStringLiteral("XDG_ACTIVATION_TOKEN"), token);
    }
    return environment;
}

bool startOpener(const QString& opener, const std::string& url) {
    QProcess process;
    process.setProgram(opener);
    process.setArguments({QString::fromStdString(url)});
    process.setProcessEnvironment(environmentOfOpened());
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

const auto fileManagerName = QStringLiteral("org.freedesktop.FileManager1");

}  // namespace

QtWorkspace::QtWorkspace() = default;

QtWorkspace::~QtWorkspace() = default;

/// False if no file manager that can select items runs, or could be started.
bool QtWorkspace::selectsInFileManager(const FileURL& item) {
    if (!fileManager_) {
        fileManager_ = std::make_unique<PrivateConnection>(QDBusConnection::SessionBus, QStringLiteral("file manager"));
    }
    const auto* const names = fileManager_->bus().interface();
    if (names == nullptr || !(names->isServiceRegistered(fileManagerName) ||
                              names->activatableServiceNames().value().contains(fileManagerName))) {
        return false;
    }
    auto request = QDBusMessage::createMethodCall(fileManagerName, QStringLiteral("/org/freedesktop/FileManager1"),
                                                  fileManagerName, QStringLiteral("ShowItems"));
    request << QStringList(QString::fromStdString(item.absoluteString())) << takeActivationToken();
    return fileManager_->bus().send(request);
}

bool QtWorkspace::openURL(const FileURL& url) {
    if (!url.item().empty() && selectsInFileManager(FileURL::fileURLWithPath(url.item(), false))) {
        return true;
    }
    const auto encoded = url.absoluteString();
    const auto opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    const bool isAsked = opener.isEmpty()
                             ? QDesktopServices::openUrl(QUrl::fromEncoded(encoded.c_str(), QUrl::StrictMode))
                             : startOpener(opener, encoded);
    if (!isAsked) {
        SystemLog::standard().write("nothing on this desktop can open " + encoded);
    }
    return isAsked;
}

}  // namespace platform::qt
