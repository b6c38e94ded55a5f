#include "platform/qt/TaskbarProgress.h"

#include "platform/ProgramIdentity.h"
#include "platform/qt/PrivateConnection.h"

#include <QDBusMessage>
#include <QVariantMap>

namespace platform::qt {

TaskbarProgress::TaskbarProgress() = default;

TaskbarProgress::~TaskbarProgress() = default;

void TaskbarProgress::show(const std::string& work, double fraction) {
    const auto now = std::chrono::steady_clock::now();
    if (work != work_) {
        work_ = work;
        begun_ = now;
        if (isShown_) {
            isShown_ = false;
            send(0, false);
        }
    }
    if (!work_.empty() && (isShown_ || now - begun_ >= longWork)) {
        isShown_ = true;
        send(fraction, true);
    }
}

void TaskbarProgress::send(double fraction, bool isVisible) {
    if (!connection_) {
        connection_ = std::make_unique<PrivateConnection>(QDBusConnection::SessionBus, QStringLiteral("taskbar"));
    }
    auto update =
        QDBusMessage::createSignal(QStringLiteral("/org/recordconverter/RecordConverter"),
                                   QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    update << QStringLiteral("application://%1.desktop").arg(QLatin1String(programId))
           << QVariantMap{{QStringLiteral("progress"), fraction}, {QStringLiteral("progress-visible"), isVisible}};
    connection_->bus().send(update);
}

}  // namespace platform::qt
