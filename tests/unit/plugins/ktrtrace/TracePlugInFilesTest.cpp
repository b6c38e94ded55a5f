/// The files of the trace plug-in: which lines reach which file, how files are rotated, and that no problem with them
/// reaches the application.

#include "unit/plugins/ktrtrace/TracePlugInTest.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using ktrtrace::RotatingSink;
using ktrtrace::TraceLevel;
using ktrtrace::TraceLog;
using test::TracePlugInTest;
using namespace std::chrono_literals;

TEST_F(TracePlugInTest, LinesOfTheWantedLevelsReachThePrivateFile) {
    TraceLog log(folder_, TraceLevel::warning, {});
    EXPECT_FALSE(log.takes(TraceLevel::info));
    ASSERT_TRUE(log.takes(TraceLevel::warning));
    EXPECT_TRUE(log.write(TraceLevel::error, "RecordConverter: trouble"));
    EXPECT_STREQ(log.fileName(), (folder_ / "trace.log").c_str());
    const auto lines = linesOf("trace.log");
    ASSERT_EQ(lines.size(), 2U);
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(lines[1], parts, wholeLine)) << lines[1];
    EXPECT_EQ(parts[1], "error");
    EXPECT_EQ(parts[2], std::to_string(::getpid()));
    EXPECT_NE(lines[1].find(" main RecordConverter: trouble"), std::string::npos) << lines[1];
    EXPECT_NE(lines[0].find("begins, level warning"), std::string::npos) << lines[0];
    EXPECT_EQ(modeOf(folder_), 0700U);
    EXPECT_EQ(modeOf(folder_ / "trace.log"), 0600U);
}

TEST_F(TracePlugInTest, AFolderThatIsOpenToOthersIsClosed) {
    std::filesystem::create_directories(folder_);
    ASSERT_EQ(::chmod(folder_.c_str(), 0755), 0);
    const TraceLog log(folder_, TraceLevel::info, {});
    EXPECT_EQ(modeOf(folder_), 0700U);
}

TEST_F(TracePlugInTest, LevelOffTouchesNothing) {
    const TraceLog log(folder_, TraceLevel::off, {});
    EXPECT_FALSE(log.takes(TraceLevel::error));
    EXPECT_EQ(log.fileName(), nullptr);
    EXPECT_FALSE(std::filesystem::exists(root_ / "state"));
}

TEST_F(TracePlugInTest, AFullFileIsPutAsideAndTheOldestGoes) {
    const RotatingSink::Limits limits{2000, 2, 5000ms};
    TraceLog log(folder_, TraceLevel::info, limits);
    for (int index = 0; index < 200; ++index) {
        ASSERT_TRUE(log.write(TraceLevel::info, "line " + std::to_string(index)));
    }
    const auto all = allLines();
    ASSERT_EQ(all.size(), 3U);
    for (const char* const name : {"trace.log", "trace.1.log", "trace.2.log"}) {
        ASSERT_TRUE(all.count(name)) << name;
        EXPECT_LE(std::filesystem::file_size(folder_ / name), limits.fileSize);
        EXPECT_EQ(modeOf(folder_ / name), 0600U) << name;
    }
    EXPECT_TRUE(all.at("trace.log").back().ends_with("line 199"));
    EXPECT_TRUE(all.at("trace.1.log").back() < all.at("trace.log").front()) << "each line starts with its time";
}

TEST_F(TracePlugInTest, LinesOfManyThreadsStayWholeAndNoneIsLost) {
    constexpr int threads = 8;
    constexpr int linesEach = 500;
    TraceLog log(folder_, TraceLevel::info, {20000, 100, 5000ms});
    std::vector<std::thread> running;
    for (int number = 0; number < threads; ++number) {
        running.emplace_back([&log, number] {
            for (int index = 0; index < linesEach; ++index) {
                log.write(TraceLevel::info,
                          "thread " + std::to_string(number) + " line " + std::to_string(index) + "|");
            }
        });
    }
    for (auto& thread : running) {
        thread.join();
    }
    std::set<std::string> texts;
    for (const auto& [name, lines] : allLines()) {
        for (const auto& line : lines) {
            ASSERT_TRUE(std::regex_match(line, wholeLine)) << name << ": " << line;
            if (line.ends_with("|")) {
                texts.insert(line.substr(line.find("thread ")));
            }
        }
    }
    EXPECT_EQ(texts.size(), static_cast<std::size_t>(threads * linesEach));
}

TEST_F(TracePlugInTest, ProcessesAtTheSameTimeHaveAFileEachAndAFifthHasNone) {
    constexpr int linesEach = 300;
    std::vector<pid_t> children;
    int go[2];
    ASSERT_EQ(::pipe(go), 0);
    for (int number = 0; number < 4; ++number) {
        children.push_back(begin([&] {
            TraceLog log(folder_, TraceLevel::info, {5000, 100, 5000ms});
            for (int index = 0; index < linesEach; ++index) {
                log.write(TraceLevel::info, "of process " + std::to_string(::getpid()) + "|");
            }
            // Keeps its slot until every process has one.
            ::close(go[1]);
            char c = 0;
            EXPECT_NE(log.fileName(), nullptr);
            EXPECT_EQ(::read(go[0], &c, 1), 0);
        }));
    }
    const auto deadline = std::chrono::steady_clock::now() + 50s;
    const auto isFull = [&] {
        std::size_t count = 0;
        for (const auto& [name, lines] : allLines()) {
            count += static_cast<std::size_t>(
                std::count_if(lines.begin(), lines.end(), [](const auto& line) { return line.ends_with("|"); }));
        }
        return count == std::size_t{4} * linesEach;
    };
    while ((!std::filesystem::exists(folder_) || !isFull()) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(10ms);
    }
    expectEnd(begin([&] {
        const TraceLog fifth(folder_, TraceLevel::info, {});
        EXPECT_EQ(fifth.fileName(), nullptr);
        EXPECT_FALSE(fifth.takes(TraceLevel::error));
    }));
    ::close(go[1]);
    for (const pid_t child : children) {
        expectEnd(child);
    }
    ::close(go[0]);
    std::map<std::string, std::string> processOfFile;
    for (const auto& [name, lines] : allLines()) {
        for (const auto& line : lines) {
            std::smatch parts;
            ASSERT_TRUE(std::regex_match(line, parts, wholeLine)) << name << ": " << line;
            const auto [known, isNew] = processOfFile.emplace(name.substr(0, name.find('.')), parts[2]);
            EXPECT_EQ(known->second, parts[2]) << name << " belongs to one process";
        }
    }
    EXPECT_EQ(processOfFile.size(), 4U);
    expectEnd(begin([&] {
        const TraceLog next(folder_, TraceLevel::info, {});
        EXPECT_EQ(next.fileName(), folder_ / "trace.log") << "a place is free when its process has ended";
    }));
}

TEST_F(TracePlugInTest, WhereTheFolderCanNotBeMadeThereIsNoTrace) {
    std::ofstream(root_ / "state") << "a file, not a folder";
    const TraceLog log(folder_, TraceLevel::info, {});
    EXPECT_FALSE(log.takes(TraceLevel::error));
    EXPECT_EQ(log.fileName(), nullptr);
    const TraceLog nowhere("", TraceLevel::info, {});
    EXPECT_EQ(nowhere.fileName(), nullptr);
}

bool endsWithALine(const std::string& file) {
    std::ifstream stream(file);
    const std::string text((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    return text.ends_with('\n');
}

// A limit on the file size makes a write fail like a full disk, in the middle of a line.
void outliveAFullDisk(const std::string& folder) {
    std::signal(SIGXFSZ, SIG_IGN);
    TraceLog log(folder, TraceLevel::info, {1000000, 2, 50ms});
    EXPECT_TRUE(log.write(TraceLevel::info, "before"));
    const rlimit full = {400, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &full);
    bool hasLost = false;
    for (int index = 0; index < 100; ++index) {
        hasLost = !log.write(TraceLevel::info, "lost " + std::to_string(index)) || hasLost;
    }
    EXPECT_TRUE(hasLost);
    EXPECT_TRUE(endsWithALine(log.fileName()));
    const rlimit free = {RLIM_INFINITY, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &free);
    std::this_thread::sleep_for(100ms);
    EXPECT_TRUE(log.write(TraceLevel::info, "after"));
}

TEST_F(TracePlugInTest, AFullDiskLosesLinesAndLaterOnesComeAgain) {
    expectEnd(begin([&] { outliveAFullDisk(folder_); }));
    const auto lines = linesOf("trace.log");
    EXPECT_TRUE(lines.back().ends_with("after"));
    for (const auto& line : lines) {
        EXPECT_TRUE(std::regex_match(line, wholeLine)) << line;
    }
}

TEST_F(TracePlugInTest, ALineThatAPowerCutHasTornGoes) {
    std::filesystem::create_directories(folder_);
    const std::string whole = "2026-01-02T03:04:05.000006+00:00 info    17 main a line";
    std::ofstream(folder_ / "trace.log") << whole << "\n" << std::string(10000, 'x');
    const TraceLog log(folder_, TraceLevel::info, {});
    const auto lines = linesOf("trace.log");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], whole);
    EXPECT_TRUE(std::regex_match(lines[1], wholeLine)) << lines[1];
}

TEST_F(TracePlugInTest, AFolderThatGoesAwayIsHarmless) {
    TraceLog log(folder_, TraceLevel::info, {500, 2, 1ms});
    ASSERT_TRUE(log.write(TraceLevel::info, "before"));
    std::filesystem::remove_all(root_ / "state");
    std::ofstream(root_ / "state") << "in the way";
    bool hasLost = false;
    for (int index = 0; index < 50; ++index) {
        hasLost = !log.write(TraceLevel::info, "line " + std::to_string(index)) || hasLost;
    }
    EXPECT_TRUE(hasLost);
}

}  // namespace
