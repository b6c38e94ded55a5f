#include "recordkeeping/PendingRecordings.h"

#include "support/FakeBackgroundExecutor.h"
#include "support/FakeDispatchQueue.h"
#include "support/FakeProcessIdentities.h"
#include "support/FakeSystemLog.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

using recordkeeping::PendingEntry;
using recordkeeping::PendingFolder;
using recordkeeping::PendingRecordings;
using Sources = std::vector<std::string>;

/// Converters that run one after another or concurrently with one home folder, each with its own memory.
class PendingRecordingsTest : public testing::Test {
protected:
    static test::FakeProcessIdentities livingProcesses() {
        test::FakeProcessIdentities processes;
        processes.start(100);
        processes.start(7);
        return processes;
    }

    std::unique_ptr<PendingRecordings> converter(std::int32_t pid) {
        return std::make_unique<PendingRecordings>(folder, processes, pid);
    }

    static Sources sourcesOf(const std::vector<PendingEntry>& entries) {
        Sources sources;
        for (const auto& entry : entries) {
            sources.push_back(entry.source);
        }
        return sources;
    }

    std::vector<PendingEntry> onDisk() {
        std::vector<PendingEntry> entries;
        for (const auto& [name, entry] : folder.read()) {
            entries.push_back(entry);
        }
        return entries;
    }

    /// What a power cut would do to replaced entries.
    void loseWhatIsNotSynced() const {
        for (const auto& file : std::filesystem::directory_iterator(home + "/state/record-converter/pending")) {
            if (file.path().filename().string().starts_with('.')) {
                std::filesystem::remove(file);
            }
        }
    }

    const test::TemporaryFolder temporary;
    const std::string home = temporary.path();
    test::FakeSystemLog log;
    test::FakeBackgroundExecutor executor;
    test::FakeDispatchQueue later;
    test::FakeProcessIdentities processes = livingProcesses();
    PendingFolder folder{home + "/state/record-converter/pending", executor, later};
    std::unique_ptr<PendingRecordings> first = converter(100);
};

TEST_F(PendingRecordingsTest, AnAnnouncementIsOnTheDiskBeforeItReturns) {
    first->announce({"/a.mkv", 7, 3, true});
    const auto entries = onDisk();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].source, "/a.mkv");
    EXPECT_EQ(entries[0].meeting, processes.identityOf(7));
    EXPECT_EQ(entries[0].converter, processes.identityOf(100));
    EXPECT_EQ(entries[0].language, 3);
    EXPECT_TRUE(entries[0].keep);
    EXPECT_EQ(entries[0].state, PendingEntry::State::recording);
}

TEST_F(PendingRecordingsTest, TheDiskIsWaitedForOnAnotherThreadWhichEndsWhenAllIsSynced) {
    first->announce({"/a.mkv", 7, 1, false});
    first->announce({"/b.mkv", 7, 1, false});
    EXPECT_EQ(executor.pendingCount(), 0U) << "not even its start delays the announcement";
    later.drain();
    ASSERT_EQ(executor.pendingCount(), 1U);
    executor.runNext();
    first->noteStopped(7);
    later.drain();
    EXPECT_EQ(executor.pendingCount(), 1U) << "the next change is synced as well";
}

TEST_F(PendingRecordingsTest, OnlyItsOwnerCanLookIntoTheFolder) {
    first->announce({"/a.mkv", 7, 1, false});
    struct stat status {};
    ASSERT_EQ(::stat((home + "/state/record-converter/pending").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST_F(PendingRecordingsTest, TheSameAnnouncementTwiceIsOneEntry) {
    first->announce({"/a.mkv", 7, 1, false});
    first->announce({"/a.mkv", 7, 1, false});
    first->announce({"/a.mkv", 7, 1, true});
    ASSERT_EQ(onDisk().size(), 1U);
    EXPECT_TRUE(onDisk()[0].keep);
}

TEST_F(PendingRecordingsTest, StatesAreKept) {
    first->announce({"/a.mkv", 7, 1, false});
    first->noteStopped(7);
    first->announce({"/b.mkv", 7, 1, false});
    EXPECT_EQ(onDisk()[0].state, PendingEntry::State::written);
    EXPECT_EQ(onDisk()[1].state, PendingEntry::State::recording);
    first->noteDue(7);
    EXPECT_EQ(onDisk()[1].state, PendingEntry::State::due);
    first->noteConverting("/a.mkv", "/a.mp4");
    EXPECT_EQ(onDisk()[0].attempts, 1);
    EXPECT_EQ(onDisk()[0].destination, "/a.mp4");
    first->noteSaved("/a.mkv");
    EXPECT_EQ(onDisk()[0].state, PendingEntry::State::saved);
    first->noteOutcomeShown("/a.mkv", 7);
    EXPECT_EQ(sourcesOf(onDisk()), Sources{"/b.mkv"});
}

TEST_F(PendingRecordingsTest, WhatAKilledConverterHadNotSyncedIsOnTheDiskBeforeTheNextOneWritesAnything) {
    first->announce({"/a.mkv", 7, 1, false});
    first->noteStopped(7);
    processes.end(100);
    const auto next = converter(7);
    ASSERT_EQ(next->takeOver().size(), 1U);
    loseWhatIsNotSynced();
    ASSERT_EQ(onDisk().size(), 1U);
    EXPECT_EQ(onDisk()[0].state, PendingEntry::State::written);
}

TEST_F(PendingRecordingsTest, WhereTheMp4WillBeIsOnTheDiskBeforeTheConversionBegins) {
    first->announce({"/a.mkv", 7, 1, false});
    first->noteConverting("/a.mkv", "/a.mp4");
    loseWhatIsNotSynced();
    ASSERT_EQ(onDisk().size(), 1U);
    EXPECT_EQ(onDisk()[0].destination, "/a.mp4");
    first->noteConverting("/unknown.mkv", "/unknown.mp4");
}

TEST_F(PendingRecordingsTest, TheOutcomeOfAnEarlierRecordingDoesNotTakeALaterOneOfThatNameAway) {
    first->announce({"/a.mkv", 7, 1, false});
    first->announce({"/a.mkv", 8, 1, false});
    first->noteOutcomeShown("/a.mkv", 7);
    EXPECT_EQ(sourcesOf(onDisk()), Sources{"/a.mkv"});
}

TEST_F(PendingRecordingsTest, WhatADeadConverterLeftIsTakenOverOnceInTheOrderOfTheAnnouncements) {
    first->announce({"/a.mkv", 7, 1, false});
    first->announce({"/b.mkv", 7, 1, false});
    processes.end(100);
    processes.start(200);
    processes.start(300);
    const auto second = converter(200);
    const auto third = converter(300);
    EXPECT_EQ(sourcesOf(second->takeOver()), (Sources{"/a.mkv", "/b.mkv"}));
    EXPECT_TRUE(third->takeOver().empty());
    EXPECT_EQ(third->otherConverters(), (std::vector<std::int32_t>{200, 200}));
    EXPECT_TRUE(second->takeOver().empty()) << "its own";
}

TEST_F(PendingRecordingsTest, WhatALivingConverterIsInChargeOfIsNotTaken) {
    first->announce({"/a.mkv", 7, 1, false});
    processes.start(200);
    const auto second = converter(200);
    EXPECT_TRUE(second->takeOver().empty());
    processes.end(100);
    EXPECT_EQ(sourcesOf(second->takeOver()), Sources{"/a.mkv"});
}

TEST_F(PendingRecordingsTest, AfterARebootAnEqualIdIsAnotherProcess) {
    first->announce({"/a.mkv", 7, 1, false});
    processes.reboot();
    processes.start(100);
    processes.start(200);
    const auto entries = converter(200)->takeOver();
    ASSERT_EQ(entries.size(), 1U);
    processes.start(7);
    EXPECT_FALSE(processes.isAlive(entries[0].meeting));
}

TEST_F(PendingRecordingsTest, AProcessThatStartsItselfAgainTakesItsOwnOver) {
    first->announce({"/a.mkv", 7, 1, false});
    EXPECT_EQ(sourcesOf(converter(100)->takeOver()), Sources{"/a.mkv"});
}

TEST_F(PendingRecordingsTest, AnOrderlyEndIsNoFailedAttempt) {
    first->announce({"/a.mkv", 7, 1, false});
    first->noteConverting("/a.mkv", "/a.mp4");
    EXPECT_EQ(first->noteEnding(), Sources{"/a.mkv"});
    EXPECT_EQ(onDisk()[0].attempts, 0);
}

TEST_F(PendingRecordingsTest, ACutOffWriteIsNoEntryAndOneThatIsOldGoes) {
    first->announce({"/a.mkv", 7, 1, false});
    const auto pending = std::filesystem::path(home) / "state/record-converter/pending";
    std::ofstream(pending / "00000000000000000001") << "record-converter pending 1\nsource=/b";
    std::ofstream(pending / ".00000000000000000001.5") << "";
    EXPECT_EQ(onDisk().size(), 1U);
    EXPECT_TRUE(std::filesystem::exists(pending / "00000000000000000001")) << "it may be being written";
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::minutes(5);
    std::filesystem::last_write_time(pending / "00000000000000000001", old);
    std::filesystem::last_write_time(pending / ".00000000000000000001.5", old);
    EXPECT_EQ(onDisk().size(), 1U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(pending), {}), 1);
}

TEST_F(PendingRecordingsTest, AFolderThatCannotBeMadeIsSaidOnce) {
    std::ofstream(home + "/file") << "";
    PendingFolder impossible(home + "/file/pending", executor, later);
    PendingRecordings pending(impossible, processes, 100);
    pending.announce({"/a.mkv", 7, 1, false});
    pending.announce({"/b.mkv", 7, 1, false});
    pending.noteStopped(7);
    pending.noteOutcomeShown("/a.mkv", 7);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_NE(log.lines()[0].find(home + "/file/pending"), std::string::npos);
}

}  // namespace
