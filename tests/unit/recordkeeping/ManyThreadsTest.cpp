#include "AppDelegate.h"
#include "KTRMeetingRecordItem.h"
#include "platform/BusySerialQueueMaker.h"
#include "platform/GatedSerialQueueMaker.h"
#include "platform/ThreadSerialQueue.h"
#include "recordkeeping/PendingFolder.h"
#include "recordkeeping/Recordkeeper.h"
#include "support/FakeBackgroundExecutor.h"
#include "support/FakePlatform.h"
#include "support/FakeProcessIdentities.h"
#include "support/MeetingNotifications.h"
#include "support/ScriptedMediaConverter.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;
using support::ScriptedMediaConverter;
using Random = std::mt19937;

/// Keeps the processor: on a busy machine each yield would cost a time slice.
void pause(Random& random) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 100);
    while (std::chrono::steady_clock::now() < end) {
    }
}

/// The application within its recordkeeper, with a real conversion queue. The media converter works in the background.
/// The test's thread is the main thread.
class Converter final {
public:
    explicit Converter(std::string home)
        : folder_(std::move(home), executor_, fake_.mainQueue),
          keeper_(fake_.platformWith(queues_), {queues_, gate_, [](auto then) { then(); }, folder_, processes_}),
          app_(std::make_shared<AppDelegate>(keeper_.platformForApplication(), fake_.bubbleMaker)) {
        ScriptedMediaConverter::reset();
        queues_.setBusyHandler([this](bool busy) {
            if (!busy) {
                keeper_.noteIdle();
            }
        });
        fake_.application.setTerminationCheck([this] { return keeper_.mayTerminate(); });
        fake_.application.setDelegate(app_);
        fake_.processInformation.setArguments({"/opt/bin/record-converter"});
        keeper_.setApplication(app_);
        app_->applicationDidFinishLaunching();
        keeper_.noteLaunched();
    }

    ~Converter() {
        // A task that keeps the application alive would make it outlive what it uses.
        runWhile([this] { return ScriptedMediaConverter::playing() > 0 || queues_.isBusy(); });
        fake_.application.setDelegate(nullptr);
    }

    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    /// Any thread.
    void schedule(const std::string& path) {
        ScriptedMediaConverter::script({.onAnotherThread = true, .output = {}});
        fake_.fileManager.addFile(path);
        app_->convertingJobRunner()->scheduleJob(std::make_shared<KTRMeetingRecordItem>(1, path, fake_.fileManager));
    }

    void start(std::int32_t pid, const std::string& path) {
        ScriptedMediaConverter::script({.onAnotherThread = true, .output = {}});
        fake_.fileManager.addFile(path);
        fake_.distributedCenter.deliver(
            test::meetingNotification(kMeetingRecordNotificationName_RecordingStarted, pid, path));
    }

    void quit(std::int32_t pid) {
        fake_.distributedCenter.deliver(test::meetingNotification(kMeetingRecordNotificationName_MeetingAppQuit, pid));
    }

    void runMainQueue() { fake_.mainQueue.drain(); }

    /// Runs due tasks as long as `isAwaited` returns true; false if that does not change for ten seconds.
    bool runWhile(const std::function<bool()>& isAwaited) {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (isAwaited()) {
            runMainQueue();
            std::this_thread::sleep_for(50us);
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
        }
        runMainQueue();
        return true;
    }

    bool hasEnded() const { return !fake_.application.terminateSenders().empty(); }

    /// Simulates the user and the clock: all bubbles close, and a second passes.
    void passSecond() {
        runMainQueue();
        fake_.bubbleMaker.closeAll();
        fake_.runLoop.advance(1s);
    }

    /// False if it does not end although it could. The threads get real time for their remaining reports.
    bool ends() {
        for (int tries = 0; tries < 2000 && !hasEnded(); ++tries) {
            passSecond();
            std::this_thread::sleep_for(1ms);
        }
        return hasEnded();
    }

    bool isWorking() const {
        auto& runner = *app_->convertingJobRunner();
        return queues_.isBusy() || runner.hasJobRunning() || runner.hasJobsWaiting();
    }

private:
    test::FakePlatform fake_;
    platform::ThreadSerialQueueMaker threads_;
    platform::GatedSerialQueueMaker gate_{threads_};
    platform::BusySerialQueueMaker queues_{gate_, fake_.mainQueue};
    test::FakeBackgroundExecutor executor_;
    test::FakeProcessIdentities processes_;
    recordkeeping::PendingFolder folder_;
    recordkeeping::Recordkeeper keeper_;
    std::shared_ptr<AppDelegate> app_;
};

class ManyThreadsTest : public testing::Test {
protected:
    static std::vector<std::string> converted() {
        std::vector<std::string> sources;
        for (const auto& request : ScriptedMediaConverter::requests()) {
            sources.push_back(request.source);
        }
        std::sort(sources.begin(), sources.end());
        return sources;
    }

    static void expectAllConverted(Converter& converter, std::vector<std::string> expected) {
        std::sort(expected.begin(), expected.end());
        EXPECT_TRUE(converter.runWhile([&] { return converter.isWorking() || converted().size() < expected.size(); }))
            << "a job waits for ever";
        EXPECT_EQ(converted(), expected);
        EXPECT_EQ(ScriptedMediaConverter::abandoned(), 0U) << "released while it converted";
    }

    const test::TemporaryFolder temporary;
    const std::string home = temporary.path();
};

TEST_F(ManyThreadsTest, JobsScheduledByTwoThreadsAreEachConvertedOnce) {
    for (unsigned round = 0; round < 100 && !HasFailure(); ++round) {
        Converter converter(home + "/pending");
        std::vector<std::string> expected;
        std::vector<std::thread> threads;
        for (const std::string name : {"/a", "/b"}) {
            for (int number = 0; number < 4; ++number) {
                expected.push_back(name + std::to_string(number) + ".mkv");
            }
            threads.emplace_back([&converter, name, random = Random(2 * round + threads.size())]() mutable {
                for (int number = 0; number < 4; ++number) {
                    converter.schedule(name + std::to_string(number) + ".mkv");
                    pause(random);
                }
            });
        }
        converter.runMainQueue();
        for (auto& thread : threads) {
            thread.join();
        }
        expectAllConverted(converter, expected);
        EXPECT_TRUE(converter.ends()) << "it never ends";
    }
}

TEST_F(ManyThreadsTest, ARecordingThatStartsWhileTheJobsRunOutKeepsTheConverterAndIsConverted) {
    for (unsigned round = 0; round < 100 && !HasFailure(); ++round) {
        Random random(round);
        Converter converter(home + "/pending");
        converter.schedule("/first.mkv");
        pause(random);
        converter.start(7, "/second.mkv");
        EXPECT_TRUE(converter.runWhile([&] { return converter.isWorking(); }));
        for (int seconds = 0; seconds < 3; ++seconds) {
            converter.passSecond();
        }
        EXPECT_FALSE(converter.hasEnded()) << "it quits while a meeting records";
        converter.quit(7);
        expectAllConverted(converter, {"/first.mkv", "/second.mkv"});
        EXPECT_TRUE(converter.ends()) << "it never ends";
    }
}

TEST_F(ManyThreadsTest, MeetingsThatComeAndGoWhileTheQueueWorksLoseNothing) {
    for (unsigned round = 0; round < 50 && !HasFailure(); ++round) {
        Random random(round);
        Converter converter(home + "/pending");
        std::vector<std::string> expected;
        for (std::int32_t pid = 10; pid < 16; ++pid) {
            expected.push_back("/" + std::to_string(pid) + ".mkv");
            converter.start(pid, expected.back());
            converter.quit(pid);
            pause(random);
            if (random() % 2 == 0) {
                converter.runMainQueue();
            }
        }
        expectAllConverted(converter, expected);
        EXPECT_TRUE(converter.ends()) << "it never ends";
    }
}

}  // namespace
