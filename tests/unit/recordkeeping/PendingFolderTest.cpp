#include "recordkeeping/PendingFolder.h"

#include "support/FakeBackgroundExecutor.h"
#include "support/FakeDispatchQueue.h"
#include "support/FakeSystemLog.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace {

using recordkeeping::PendingEntry;
using recordkeeping::PendingFolder;
using Names = std::vector<std::string>;

/// A state folder whose syncs run when the test asks for it. A power cut may remove everything that is not synced.
class PendingFolderTest : public testing::Test {
protected:
    static PendingEntry entryOf(PendingEntry::State state) {
        PendingEntry entry;
        entry.source = "/talk.mkv";
        entry.state = state;
        return entry;
    }

    void sync() {
        later.drain();
        executor.runNext();
    }

    std::string addSynced(PendingEntry::State state) {
        const auto name = folder.add(entryOf(state)).value_or("");
        sync();
        return name;
    }

    std::optional<PendingEntry::State> stateInFile(const std::string& name) const {
        std::ifstream file(path + "/" + name);
        const auto entry = recordkeeping::pendingEntryFromText({std::istreambuf_iterator<char>(file), {}});
        return entry ? std::optional(entry->state) : std::nullopt;
    }

    std::optional<PendingEntry::State> stateRead() {
        const auto found = folder.read();
        return found.size() == 1 ? std::optional(found[0].second.state) : std::nullopt;
    }

    void write(const std::string& name, const std::string& text) const { std::ofstream(path + "/" + name) << text; }

    Names files() const {
        Names names;
        for (const auto& file : std::filesystem::directory_iterator(path)) {
            names.push_back(file.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const test::TemporaryFolder temporary;
    const std::string path = temporary.path();
    test::FakeSystemLog log;
    test::FakeBackgroundExecutor executor;
    test::FakeDispatchQueue later;
    PendingFolder folder{path, executor, later};
};

TEST_F(PendingFolderTest, WhatIsOnTheDiskStaysUntilTheNewContentIsOnTheDisk) {
    const auto name = addSynced(PendingEntry::State::recording);
    folder.replace(name, entryOf(PendingEntry::State::due));
    EXPECT_EQ(stateInFile(name), PendingEntry::State::recording);
    EXPECT_EQ(stateRead(), PendingEntry::State::due) << "a killed converter has lost nothing";
    sync();
    EXPECT_EQ(stateInFile(name), PendingEntry::State::due);
    EXPECT_EQ(files(), Names{name});
}

TEST_F(PendingFolderTest, TheNewestOfManyReplacementsCounts) {
    const auto name = addSynced(PendingEntry::State::recording);
    folder.replace(name, entryOf(PendingEntry::State::written));
    folder.replace(name, entryOf(PendingEntry::State::due));
    EXPECT_EQ(stateRead(), PendingEntry::State::due);
    sync();
    folder.replace(name, entryOf(PendingEntry::State::saved));
    sync();
    EXPECT_EQ(stateInFile(name), PendingEntry::State::saved);
}

TEST_F(PendingFolderTest, WhatAPowerCutLeavesOfNewContentDoesNotHideTheOld) {
    const auto name = addSynced(PendingEntry::State::recording);
    write("." + name, "");
    EXPECT_EQ(stateRead(), PendingEntry::State::recording);
    write("." + name, "record-converter pending 1\nsource=/talk");
    EXPECT_EQ(stateRead(), PendingEntry::State::recording);
}

TEST_F(PendingFolderTest, ContentThatIsStillBeingWrittenIsNotRead) {
    const auto name = addSynced(PendingEntry::State::recording);
    write("." + name + ".new", asText(entryOf(PendingEntry::State::due)));
    EXPECT_EQ(stateRead(), PendingEntry::State::recording);
}

TEST_F(PendingFolderTest, ARemovedEntryLeavesNothing) {
    const auto name = addSynced(PendingEntry::State::recording);
    folder.replace(name, entryOf(PendingEntry::State::due));
    folder.remove(name);
    EXPECT_EQ(files(), Names{});
    sync();
    EXPECT_EQ(files(), Names{});
}

TEST_F(PendingFolderTest, TheNewContentOfAProcessThatHasEndedTakesItsPlace) {
    const auto name = addSynced(PendingEntry::State::recording);
    folder.replace(name, entryOf(PendingEntry::State::due));
    PendingFolder next(path, executor, later);
    next.adoptFresh(name);
    EXPECT_EQ(stateInFile(name), PendingEntry::State::due);
    EXPECT_EQ(files(), Names{name});
}

TEST_F(PendingFolderTest, ATornRestTakesNoPlace) {
    const auto name = addSynced(PendingEntry::State::recording);
    write("." + name, "record-converter pending 1\n");
    folder.adoptFresh(name);
    EXPECT_EQ(stateInFile(name), PendingEntry::State::recording);
}

}  // namespace
