#pragma once

#include "AppDelegate.h"
#include "platform/BusySerialQueueMaker.h"
#include "platform/GatedSerialQueueMaker.h"
#include "recordkeeping/HandOverKeys.h"
#include "recordkeeping/Recordkeeper.h"
#include "support/FakeBackgroundExecutor.h"
#include "support/FakePlatform.h"
#include "support/FakeProcessIdentities.h"
#include "support/MeetingNotifications.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"
#include "support/TemporaryFolder.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// The application within its recordkeeper, on a fake platform whose conversion queue runs when the test asks for it.
class RecordkeeperTest : public testing::Test {
protected:
    using Paths = std::vector<std::string>;

    RecordkeeperTest() {
        support::ScriptedMediaConverter::reset();
        queues.setBusyHandler([this](bool busy) {
            if (!busy) {
                keeper.noteIdle();
            }
        });
        fake.exitWatch.setGoneHandler([this](std::int32_t pid) { keeper.noteGone(pid); });
        fake.application.setTerminationCheck([this] { return keeper.mayTerminate(); });
        fake.application.setDelegate(app);
        processes.start(fake.processInformation.processIdentifier());
    }

    ~RecordkeeperTest() override {
        // The application uses its recordkeeper while it is destroyed.
        fake.application.setDelegate(nullptr);
    }

    void launch(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), "/opt/bin/record-converter");
        fake.processInformation.setArguments(std::move(arguments));
        keeper.setApplication(app);
        app->applicationDidFinishLaunching();
        keeper.noteLaunched();
        settle();
    }

    void deliver(const char* name, std::int32_t pid) { fake.distributedCenter.deliver(meetingNotification(name, pid)); }

    void start(std::int32_t pid, const std::string& path) {
        fake.fileManager.addFile(path);
        fake.distributedCenter.deliver(meetingNotification(kMeetingRecordNotificationName_RecordingStarted, pid, path));
    }

    /// Another launch hands its recording over.
    void handOver(std::int32_t pid, const std::string& path, bool keep = false) {
        fake.fileManager.addFile(path);
        auto started = meetingNotification(kMeetingRecordNotificationName_RecordingStarted, pid, path);
        started.userInfo->emplace(recordkeeping::handedOverKey, true);
        started.userInfo->emplace(recordkeeping::keepsIntermediateFileKey, keep);
        fake.distributedCenter.deliver(started);
    }

    void startWithoutFile(std::int32_t pid) { deliver(kMeetingRecordNotificationName_RecordingStarted, pid); }
    void stop(std::int32_t pid) { deliver(kMeetingRecordNotificationName_RecordingStopped, pid); }
    void quit(std::int32_t pid) { deliver(kMeetingRecordNotificationName_MeetingAppQuit, pid); }

    /// The bus delivers the notifications it holds.
    void deliverBus() {
        while (!barriers.empty()) {
            const auto then = std::move(barriers.front());
            barriers.pop_front();
            then();
        }
    }

    /// Runs everything that can run without time passing.
    void settle() {
        std::size_t ran = 1;
        while (ran > 0) {
            deliverBus();
            ran = fake.mainQueue.drain();
            if (!fake.serialQueues.made().empty()) {
                ran += fake.serialQueues.last().drain();
            }
        }
    }

    bool endsBySecond() {
        settle();
        fake.bubbleMaker.closeAll();
        fake.runLoop.advance(std::chrono::seconds(1));
        return !fake.application.terminateSenders().empty();
    }

    static Paths converted() {
        Paths sources;
        for (const auto& request : support::ScriptedMediaConverter::requests()) {
            sources.push_back(request.source);
        }
        return sources;
    }

    /// Creates what a converter that has ended leaves; `change` may modify the entry before it is written.
    void leave(
        const std::string& source, std::int32_t pid,
        const std::function<void(recordkeeping::PendingEntry&)>& change = [](auto&) {}) {
        recordkeeping::PendingEntry entry{source,
                                          processes.identityOf(pid),
                                          {99, 1, "boot"},
                                          1,
                                          false,
                                          recordkeeping::PendingEntry::State::recording,
                                          0,
                                          {}};
        change(entry);
        folder.add(entry);
        fake.fileManager.addFile(source);
    }

    Paths pending() {
        Paths sources;
        for (const auto& [name, entry] : folder.read()) {
            sources.push_back(entry.source);
        }
        return sources;
    }

    // Outlives the application, which traces its own end.
    RecordingTrace trace;
    FakePlatform fake;
    platform::GatedSerialQueueMaker gate{fake.serialQueues};
    platform::BusySerialQueueMaker queues{gate, fake.mainQueue};
    std::deque<std::function<void()>> barriers;
    std::vector<recordkeeping::WorkProgress> shown;
    TemporaryFolder home;
    FakeBackgroundExecutor executor;
    FakeProcessIdentities processes;
    recordkeeping::PendingFolder folder{home.file("pending"), executor, fake.mainQueue};
    recordkeeping::Recordkeeper keeper{
        fake.platformWith(queues),
        {queues, gate, [this](std::function<void()> then) { barriers.push_back(std::move(then)); }, folder, processes,
         [this](const recordkeeping::WorkProgress& progress) { shown.push_back(progress); }}};
    std::shared_ptr<AppDelegate> app = std::make_shared<AppDelegate>(keeper.platformForApplication(), fake.bubbleMaker);
};

}  // namespace test
