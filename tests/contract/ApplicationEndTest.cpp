/// The end of the application main. It ends its process, so each test has its own process.

#include "platform/qt/QtApplication.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <utility>

namespace {

using namespace std::chrono_literals;
using platform::qt::QtApplication;

char programName[] = "application-end";
char* programArguments[] = {programName, nullptr};

// The death test reads it.
void say(const char* word) {
    static_cast<void>(std::fprintf(stderr, "%s ", word));
}

class Delegate final : public platform::ApplicationDelegate {
public:
    explicit Delegate(std::function<void()> launched) : launched_(std::move(launched)) {}
    void applicationDidFinishLaunching() override {
        say("launched");
        launched_();
    }
    void applicationWillTerminate() override { say("ending"); }

private:
    const std::function<void()> launched_;
};

[[noreturn]] void runDecliningFor(std::chrono::milliseconds time) {
    QtApplication application(1, programArguments);
    bool busy = true;
    application.setTerminationCheck([&] { return !busy; });
    application.setTerminationHandler([] { say("asked"); });
    application.setLaunchedHandler([] { say("then"); });
    application.setEndingHandler([] { say("last"); });
    application.setDelegate(std::make_shared<Delegate>([&] { application.terminate(nullptr); }));
    QTimer::singleShot(time, [&] {
        say("done");
        busy = false;
        application.terminate(nullptr);
    });
    application.run();
}

TEST(ApplicationEndTest, IsDeclinedWhileTheCheckSaysSoAndOrderlyAfterwards) {
    EXPECT_EXIT(runDecliningFor(300ms), ::testing::ExitedWithCode(0), "launched then done asked ending last $");
}

[[noreturn]] void runUnchecked() {
    QtApplication application(1, programArguments);
    application.setTerminationHandler([] { say("asked"); });
    application.setDelegate(std::make_shared<Delegate>([&] { application.terminate(nullptr); }));
    application.run();
}

TEST(ApplicationEndTest, NeedsNoCheck) {
    EXPECT_EXIT(runUnchecked(), ::testing::ExitedWithCode(0), "launched asked ending $");
}

// Neither is refused, and both stop deliveries first.
[[noreturn]] void runAsked(const std::function<void()>& ask) {
    QtApplication application(1, programArguments);
    application.setTerminationCheck([] { return false; });
    application.setTerminationHandler([] { say("asked"); });
    application.setEndingHandler([] { say("last"); });
    application.setDelegate(std::make_shared<Delegate>([&] {
        application.terminate(nullptr);
        ask();
    }));
    application.run();
}

TEST(ApplicationEndTest, ASignalGoesThroughTheSameGateUnchecked) {
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        EXPECT_EXIT(runAsked([&] { std::raise(number); }), ::testing::ExitedWithCode(0),
                    "launched asked ending last $");
    }
}

TEST(ApplicationEndTest, TheEndOfTheSessionGoesThroughTheSameGateUnchecked) {
    const auto endSession = [] {
        QEvent quit(QEvent::Quit);
        QCoreApplication::sendEvent(QCoreApplication::instance(), &quit);
    };
    EXPECT_EXIT(runAsked(endSession), ::testing::ExitedWithCode(0), "launched asked ending last $");
}

}  // namespace

int main(int argc, char* argv[]) {
    ::testing::InitGoogleTest(&argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    return RUN_ALL_TESTS();
}
