#include "platform/qt/LostDisplay.h"

#include "platform/SystemLog.h"

#include <QString>
#include <QtGlobal>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <unistd.h>
#include <utility>

namespace platform::qt {

namespace {

constexpr const char* restartMark = "RECORD_CONVERTER_STARTED_AGAIN";

struct Restart {
    std::function<std::optional<std::vector<std::string>>()> prepare;
    QtMessageHandler previousHandler = nullptr;
};

// Never destroyed: it is needed while the process ends.
Restart* restart = nullptr;
std::atomic<bool> isEndExpected{true};

void startAgain() {
    if (isEndExpected.exchange(true)) {
        return;
    }
    auto arguments = restart->prepare();
    if (!arguments) {
        return;
    }
    SystemLog::standard().write("the display has gone: starting again off-screen", Severity::warning);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv(restartMark, "1", 1);
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    std::vector<char*> pointers;
    for (auto& argument : *arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    // Works even if the program's file has been replaced meanwhile. Returns only on failure.
    execv("/proc/self/exe", pointers.data());
}

void onMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    restart->previousHandler(type, context, text);
    // The toolkit's Wayland plug-in prints this and ends the process without its exit handlers.
    if (text.startsWith(QLatin1String("The Wayland connection "))) {
        startAgain();
    }
}

}  // namespace

void startAgainWhenDisplayIsLost(std::function<std::optional<std::vector<std::string>>()> prepare) {
    restart = new Restart{std::move(prepare)};
    isEndExpected = false;
    static_cast<void>(std::atexit(startAgain));
    restart->previousHandler = qInstallMessageHandler(onMessage);
}

void expectEnd() {
    isEndExpected = true;
}

bool wasStartedAgain() {
    const bool was = std::getenv(restartMark) != nullptr;
    unsetenv(restartMark);
    return was;
}

}  // namespace platform::qt
