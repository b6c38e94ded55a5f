#include "platform/qt/QtWorkspace.h"

#include "platform/SystemLog.h"
#include "platform/qt/ActivationToken.h"
#include "platform/qt/FontLanguage.h"
#include "platform/qt/PrivateConnection.h"
#include "platform/qt/SessionBus.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QUrl>
#include <algorithm>
#include <string>
#include <unistd.h>
#include <utility>

namespace platform::qt {

namespace {

using Clock = std::chrono::steady_clock;

QProcessEnvironment environmentOfOpened() {
    auto environment = QProcessEnvironment::systemEnvironment();
    forgetBusSettingsIn(environment);
    forgetLettersIn(environment);
    if (const auto token = takeActivationToken(); !token.isEmpty()) {
        environment.insert(QStringLiteral("XDG_ACTIVATION_TOKEN"), token);
    }
    return environment;
}

const auto fileManagerName = QStringLiteral("org.freedesktop.FileManager1");

}  // namespace

QtWorkspace::QtWorkspace(std::chrono::milliseconds patience) : patience_(patience) {}

QtWorkspace::~QtWorkspace() = default;

void QtWorkspace::setFailureHandler(std::function<void(const FileURL&)> failed) {
    failed_ = std::move(failed);
}

bool QtWorkspace::isOpening() const {
    const auto now = Clock::now();
    return std::any_of(openings_.begin(), openings_.end(),
                       [&](const auto& opening) { return now - opening.second < patience_; });
}

void QtWorkspace::end(int opening) {
    openings_.erase(opening);
}

void QtWorkspace::fail(const FileURL& url, const std::string& reason) {
    SystemLog::standard().write("nothing on this desktop can open " + url.absoluteString() + ": " + reason,
                                Severity::warning);
    if (failed_) {
        failed_(url);
    }
}

bool QtWorkspace::openURL(const FileURL& url) {
    return (!url.item().empty() && asksFileManager(url)) || opensByProgram(url);
}

/// False if no file manager that can select items runs, or could be started.
bool QtWorkspace::asksFileManager(const FileURL& folder) {
    if (!fileManager_) {
        fileManager_ = std::make_unique<PrivateConnection>(QDBusConnection::SessionBus, QStringLiteral("file manager"));
    }
    const auto* const names = fileManager_->bus().interface();
    if (names == nullptr || !(names->isServiceRegistered(fileManagerName) ||
                              names->activatableServiceNames().value().contains(fileManagerName))) {
        return false;
    }
    const auto item = FileURL::fileURLWithPath(folder.item(), false);
    auto request = QDBusMessage::createMethodCall(fileManagerName, QStringLiteral("/org/freedesktop/FileManager1"),
                                                  fileManagerName, QStringLiteral("ShowItems"));
    request << QStringList(QString::fromStdString(item.absoluteString())) << takeActivationToken();
    const int opening = ++lastOpening_;
    openings_[opening] = Clock::now();
    auto* const answer = new QDBusPendingCallWatcher(fileManager_->bus().asyncCall(request), &context_);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, &context_, [this, answer, opening, folder] {
        answer->deleteLater();
        end(opening);
        if (answer->isError()) {
            SystemLog::standard().write("the file manager can't show " + folder.item() + ": " +
                                            answer->error().message().toStdString(),
                                        Severity::warning);
            opensByProgram(folder);
        }
    });
    return true;
}

bool QtWorkspace::opensByProgram(const FileURL& url) {
    if (const auto opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open")); !opener.isEmpty()) {
        startOpener(opener, url);
        return true;
    }
    const bool isAsked = QDesktopServices::openUrl(QUrl::fromEncoded(url.absoluteString().c_str(), QUrl::StrictMode));
    if (!isAsked) {
        fail(url, "xdg-open is not installed");
    }
    return isAsked;
}

void QtWorkspace::startOpener(const QString& opener, const FileURL& url) {
    // It has no owner and is never destroyed while its program runs, because its destructor would kill the program.
    auto* const process = new QProcess;
    process->setProgram(opener);
    process->setArguments({QString::fromStdString(url.absoluteString())});
    process->setProcessEnvironment(environmentOfOpened());
    process->setStandardInputFile(QProcess::nullDevice());
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->setChildProcessModifier([] { ::setsid(); });

    const int opening = ++lastOpening_;
    const auto begun = openings_[opening] = Clock::now();
    QObject::connect(process, &QProcess::errorOccurred, &context_, [=, this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            process->deleteLater();
            end(opening);
            fail(url, "xdg-open does not start: " + process->errorString().toStdString());
        }
    });
    QObject::connect(process, &QProcess::finished, &context_, [=, this](int code, QProcess::ExitStatus status) {
        process->deleteLater();
        end(opening);
        const bool hasFailed = status != QProcess::NormalExit || code != 0;
        if (hasFailed && Clock::now() - begun < patience_) {
            fail(url,
                 status == QProcess::NormalExit ? "xdg-open ended with " + std::to_string(code) : "xdg-open crashed");
        }
    });
    process->start(QIODevice::NotOpen);
}

}  // namespace platform::qt
