#include "platform/qt/QtApplication.h"

#include "platform/ProgramIdentity.h"
#include "platform/SystemLog.h"
#include "platform/UserDefaults.h"
#include "platform/qt/DisplayChoice.h"
#include "platform/qt/DrawingThreads.h"
#include "platform/qt/EndingSignals.h"
#include "platform/qt/FontLanguage.h"
#include "platform/qt/SessionBus.h"

#include <QApplication>
#include <QEvent>
#include <QMetaObject>
#include <QSessionManager>
#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace platform::qt {

namespace {

// The toolkit keeps pointers into its arguments for as long as the application object lives.
struct ToolkitArguments {
    ToolkitArguments(int argc, char* argv[], const std::string& platform) {
        // The toolkit must not see our own options; it would take "-path" and the like for its own.
        texts.emplace_back(argc > 0 ? argv[0] : "record-converter");
        if (!platform.empty()) {
            texts.emplace_back("-platform");
            texts.push_back(platform);
        }
        for (auto& text : texts) {
            pointers.push_back(text.data());
        }
        count = static_cast<int>(pointers.size());
        pointers.push_back(nullptr);
    }

    std::vector<std::string> texts;
    std::vector<char*> pointers;
    int count = 0;
};

/// A session manager that ends the session asks the toolkit's application to quit.
class SessionApplication final : public QApplication {
public:
    SessionApplication(int& argc, char* argv[], std::function<void()> quitAsked)
        : QApplication(argc, argv), quitAsked_(std::move(quitAsked)) {}

    bool event(QEvent* event) override {
        if (event->type() != QEvent::Quit) {
            return QApplication::event(event);
        }
        quitAsked_();
        return true;
    }

private:
    const std::function<void()> quitAsked_;
};

void sayThatThereIsNoDisplay(const std::string& trouble) {
    SystemLog::standard().write("no display (" + trouble + "): running off-screen");
}

}  // namespace

struct QtApplication::Toolkit {
    Toolkit(int argc, char* argv[], const DisplayChoice& choice, const std::function<void()>& endAsked)
        : arguments(argc, argv, choice.platform),
          application(arguments.count, arguments.pointers.data(), endAsked),
          signals(endAsked) {
        if (!choice.trouble.empty()) {
            sayThatThereIsNoDisplay(choice.trouble);
        } else if (!choice.platform.empty() && QGuiApplication::platformName() == QLatin1String("offscreen")) {
            sayThatThereIsNoDisplay("the toolkit can't use the one that answers");
        }
    }

    ToolkitArguments arguments;
    SessionApplication application;
    EndingSignals signals;
};

namespace {

void prepareProcess() {
    // The launching process may die first; a line that nobody reads must not end a conversion.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    outliveLostBus();
    if (!hasSessionBusAddress()) {
        forbidStartingSessionBus();
    }
    if (const auto languages = UserDefaults::standard().stringList(preferredLanguagesKey); !languages.empty()) {
        drawLettersOf(languages.front());
    }
    // Bubbles do not use the desktop's widget styles, and each would load one more plug-in into this process.
    QApplication::setStyle(QStringLiteral("Fusion"));
}

}  // namespace

QtApplication::QtApplication(int argc, char* argv[])
    : toolkit_((prepareProcess(), std::make_unique<Toolkit>(argc, argv, chooseDisplay(), [this] { end(); }))) {
    QCoreApplication::setApplicationName(QStringLiteral("record-converter"));
    QGuiApplication::setApplicationDisplayName(QString::fromLatin1(programTitle));
    QGuiApplication::setDesktopFileName(QString::fromLatin1(programId));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setQuitLockEnabled(false);
    endDrawingThreadsWithTheirPicture();
    QObject::connect(&toolkit_->application, &QGuiApplication::saveStateRequest, &toolkit_->application,
                     [](QSessionManager& session) {
                         // A meeting client starts this program when there is work; the next session must not.
                         session.setRestartHint(QSessionManager::RestartNever);
                     });
}

QtApplication::~QtApplication() = default;

void QtApplication::setDelegate(std::shared_ptr<ApplicationDelegate> delegate) {
    delegate_ = std::move(delegate);
}

std::shared_ptr<ApplicationDelegate> QtApplication::delegate() const {
    return delegate_;
}

void QtApplication::setTerminationCheck(std::function<bool()> check) {
    terminationCheck_ = std::move(check);
}

void QtApplication::setTerminationHandler(std::function<void()> handler) {
    terminationHandler_ = std::move(handler);
}

void QtApplication::setLaunchedHandler(std::function<void()> handler) {
    launchedHandler_ = std::move(handler);
}

void QtApplication::setEndingHandler(std::function<void()> handler) {
    endingHandler_ = std::move(handler);
}

void QtApplication::terminate(const ApplicationDelegate*) {
    if (!terminationCheck_ || terminationCheck_()) {
        end();
    }
}

void QtApplication::end() {
    if (terminationHandler_) {
        terminationHandler_();
    }
    QMetaObject::invokeMethod(
        &toolkit_->application, [] { QCoreApplication::exit(); }, Qt::QueuedConnection);
}

void QtApplication::run() {
    QMetaObject::invokeMethod(
        &toolkit_->application,
        [this] {
            if (delegate_) {
                delegate_->applicationDidFinishLaunching();
            }
            if (launchedHandler_) {
                launchedHandler_();
            }
        },
        Qt::QueuedConnection);
    QCoreApplication::exec();
    if (delegate_) {
        delegate_->applicationWillTerminate();
    }
    if (endingHandler_) {
        endingHandler_();
    }
    std::exit(EXIT_SUCCESS);
}

}  // namespace platform::qt
