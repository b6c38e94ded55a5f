#include "platform/qt/TaskbarProgress.h"

#include "platform/qt/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

namespace platform::qt {

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
    if (!hasSessionBusAddress()) {
        return;
    }
    static const auto name = QStringLiteral("record-converter taskbar");
    // Opened for the first long work; a taskbar drops the progress when the connection closes.
    static auto connection = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    auto update =
        QDBusMessage::createSignal(QStringLiteral("/org/recordconverter/RecordConverter"),
                                   QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    update << QStringLiteral("application://org.recordconverter.RecordConverter.desktop")
           << QVariantMap{{QStringLiteral("progress"), fraction}, {QStringLiteral("progress-visible"), isVisible}};
    connection.send(update);
}

}  // namespace platform::qt
