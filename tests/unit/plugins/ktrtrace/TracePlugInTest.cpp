/// The trace plug-in: its lines, its files, and that none of its problems reaches the application.

#include "plugins/ktrtrace/TraceLog.h"
#include "plugins/ktrtrace/TraceText.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using ktrtrace::RotatingSink;
using ktrtrace::TraceLevel;
using ktrtrace::TraceLog;
using namespace std::chrono_literals;

// The compiler must not check the format: invalid formats must be handled.
std::optional<std::string> print(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    auto text = ktrtrace::formatted(format, arguments);
    va_end(arguments);
    return text;
}

class TracePlugInTest : public ::testing::Test {
protected:
    TracePlugInTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "ktrtrace-XXXXXX").string();
        root_ = ::mkdtemp(pattern.data());
        folder_ = root_ / "state" / "record-converter";
    }

    ~TracePlugInTest() override { std::filesystem::remove_all(root_); }

    std::vector<std::string> linesOf(const std::string& name) const {
        std::vector<std::string> lines;
        std::ifstream file(folder_ / name);
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    /// Of every file in the folder.
    std::map<std::string, std::vector<std::string>> allLines() const {
        std::map<std::string, std::vector<std::string>> all;
        for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
            if (entry.path().extension() == ".log") {
                all[entry.path().filename()] = linesOf(entry.path().filename());
            }
        }
        return all;
    }

    static mode_t modeOf(const std::filesystem::path& path) {
        struct stat status = {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777U;
    }

    /// Runs `work` in a separate process, which exits with its result.
    static pid_t begin(const std::function<bool()>& work) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(work() ? 0 : 1);
        }
        return child;
    }

    static bool ended(pid_t child) {
        int status = 0;
        return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    std::filesystem::path root_;
    std::filesystem::path folder_;
};

const std::regex
    wholeLine(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}[+-]\d\d:\d\d (debug|info|warning|error) +(\d+) \S+ .*)");

TEST_F(TracePlugInTest, LevelsAreNamedInAnyCaseAndInfoOtherwise) {
    EXPECT_EQ(ktrtrace::levelOfName("debug"), TraceLevel::debug);
    EXPECT_EQ(ktrtrace::levelOfName("INFO"), TraceLevel::info);
    EXPECT_EQ(ktrtrace::levelOfName("Warning"), TraceLevel::warning);
    EXPECT_EQ(ktrtrace::levelOfName("error"), TraceLevel::error);
    EXPECT_EQ(ktrtrace::levelOfName("off"), TraceLevel::off);
    EXPECT_EQ(ktrtrace::levelOfName(nullptr), TraceLevel::info);
    EXPECT_EQ(ktrtrace::levelOfName("loud"), TraceLevel::info);
}

TEST_F(TracePlugInTest, OfSeveralLevelBitsTheGravestCounts) {
    EXPECT_EQ(ktrtrace::levelOfBits(1), TraceLevel::debug);
    EXPECT_EQ(ktrtrace::levelOfBits(2), TraceLevel::info);
    EXPECT_EQ(ktrtrace::levelOfBits(4), TraceLevel::warning);
    EXPECT_EQ(ktrtrace::levelOfBits(8), TraceLevel::error);
    EXPECT_EQ(ktrtrace::levelOfBits(7), TraceLevel::warning);
    EXPECT_EQ(ktrtrace::levelOfBits(0), TraceLevel::info);
    EXPECT_EQ(ktrtrace::levelOfBits(1024), TraceLevel::info);
}

TEST_F(TracePlugInTest, TextsAreWhatPrintfPrints) {
    EXPECT_EQ(print("%s: pid = %d, %.2f%%", "method", 17, 12.345), "method: pid = 17, 12.35%");
    EXPECT_EQ(print("%s", std::string(5000, 'x').c_str()), std::string(5000, 'x'));
    EXPECT_EQ(print("%s", std::string(1023, 'x').c_str()), std::string(1023, 'x'));
    EXPECT_EQ(print("%s", std::string(1024, 'x').c_str()), std::string(1024, 'x'));
}

TEST_F(TracePlugInTest, OddFormatsAreHarmless) {
    EXPECT_EQ(print(nullptr), std::nullopt);
    EXPECT_EQ(print(""), "");
    EXPECT_TRUE(print("100 %").has_value());
    EXPECT_TRUE(print("%!").has_value());
    EXPECT_EQ(print("%2147483648d|"), "%2147483648d|") << "refused by printf, shown as it is";
    EXPECT_EQ(print("%ls", L"\xFFFFFFF"), "%ls") << "no such character";
    const char* const absent = nullptr;
    EXPECT_EQ(print("%s|", absent), "(null)|");
    const auto huge = print("%s", std::string(std::size_t{10} * 1024 * 1024, 'x').c_str());
    EXPECT_EQ(huge, std::string(ktrtrace::longestText, 'x') + " (cut)");
}

TEST_F(TracePlugInTest, ALineNamesItsModuleAndCanNotBeForged) {
    EXPECT_EQ(ktrtrace::lineOf("RecordConverter", nullptr, "text"), "RecordConverter: text");
    EXPECT_EQ(ktrtrace::lineOf("RecordConverter", "second", "text"), "RecordConverter/second: text");
    EXPECT_EQ(ktrtrace::lineOf(nullptr, "", "text"), "text");
    EXPECT_EQ(ktrtrace::lineOf("a\nb", nullptr, "one\ntwo\t\x7f\xc3\xa4\xff"),
              "a\\x0ab: one\\x0atwo\\x09\\x7f\xc3\xa4\xff");
    EXPECT_EQ(ktrtrace::lineOf(nullptr, nullptr, std::string(1000000, 'x')).size(),
              ktrtrace::longestText + std::string(" (cut)").size());
}

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
            return log.fileName() != nullptr && ::read(go[0], &c, 1) == 0;
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
    EXPECT_TRUE(ended(begin([&] {
        const TraceLog fifth(folder_, TraceLevel::info, {});
        return fifth.fileName() == nullptr && !fifth.takes(TraceLevel::error);
    })));
    ::close(go[1]);
    for (const pid_t child : children) {
        EXPECT_TRUE(ended(child));
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
    EXPECT_TRUE(ended(begin([&] {
        const TraceLog next(folder_, TraceLevel::info, {});
        return next.fileName() == folder_ / "trace.log";
    }))) << "a place is free when its process has ended";
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
bool outlivesAFullDisk(const std::string& folder) {
    std::signal(SIGXFSZ, SIG_IGN);
    TraceLog log(folder, TraceLevel::info, {1000000, 2, 50ms});
    bool good = log.write(TraceLevel::info, "before");
    const rlimit full = {400, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &full);
    bool hasLost = false;
    for (int index = 0; index < 100; ++index) {
        hasLost = !log.write(TraceLevel::info, "lost " + std::to_string(index)) || hasLost;
    }
    good = good && endsWithALine(log.fileName());
    const rlimit free = {RLIM_INFINITY, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &free);
    std::this_thread::sleep_for(100ms);
    return good && hasLost && log.write(TraceLevel::info, "after");
}

TEST_F(TracePlugInTest, AFullDiskLosesLinesAndLaterOnesComeAgain) {
    EXPECT_TRUE(ended(begin([&] { return outlivesAFullDisk(folder_); })));
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

TEST_F(TracePlugInTest, TheStateFolderIsTheUsersOwn) {
    const auto folderWith = [](const char* state, const char* home) {
        state != nullptr ? ::setenv("XDG_STATE_HOME", state, 1) : ::unsetenv("XDG_STATE_HOME");
        home != nullptr ? ::setenv("HOME", home, 1) : ::unsetenv("HOME");
        return ktrtrace::traceFolder();
    };
    EXPECT_EQ(folderWith("/state", "/home/u"), "/state/record-converter");
    EXPECT_EQ(folderWith(nullptr, "/home/u"), "/home/u/.local/state/record-converter");
    EXPECT_EQ(folderWith("relative", "/home/u"), "/home/u/.local/state/record-converter");
    EXPECT_EQ(folderWith(nullptr, nullptr), "");
}

// The three functions as the application looks them up.
struct EntryPoints {
    EntryPoints() {
        void* const plugIn = ::dlopen(KTRTRACE_BUNDLE, RTLD_NOW | RTLD_LOCAL);
        EXPECT_NE(plugIn, nullptr) << ::dlerror();
        trace = reinterpret_cast<decltype(trace)>(::dlsym(plugIn, "KTRTRACE"));
        raw = reinterpret_cast<decltype(raw)>(::dlsym(plugIn, "KTRTRACERAW"));
        fileName = reinterpret_cast<decltype(fileName)>(::dlsym(plugIn, "KTRTRACEFILENAME"));
    }

    std::int32_t call(std::uint64_t level, const char* format, ...) const {
        std::va_list arguments;
        va_start(arguments, format);
        const auto result = trace(level, "Module", nullptr, format, arguments);
        va_end(arguments);
        return result;
    }

    std::int32_t (*trace)(std::uint64_t, const char*, const char*, const char*, std::va_list) = nullptr;
    std::int32_t (*raw)(std::uint64_t, const char*, const char*, const char*) = nullptr;
    const char* (*fileName)() = nullptr;
};

TEST_F(TracePlugInTest, TheEntryPointsWriteByTheEnvironmentAndKeepErrno) {
    EXPECT_TRUE(ended(begin([&] {
        ::setenv("XDG_STATE_HOME", (root_ / "state").c_str(), 1);
        ::setenv("KTRTRACE_LEVEL", "warning", 1);
        const EntryPoints plugIn;
        errno = EBADMSG;
        EXPECT_EQ(plugIn.call(2, "not wanted"), 0);
        EXPECT_EQ(plugIn.call(4, "code %d: %m", 7), 0);
        EXPECT_EQ(plugIn.raw(8, "Module", "second", "100 %s"), 0);
        EXPECT_EQ(plugIn.call(8, nullptr), -1);
        EXPECT_EQ(plugIn.raw(8, nullptr, nullptr, nullptr), -1);
        EXPECT_EQ(errno, EBADMSG);
        EXPECT_EQ(plugIn.fileName(), folder_ / "trace.log");
        return !HasFailure();
    })));
    const auto lines = linesOf("trace.log");
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(lines[1].ends_with(" main Module: code 7: Bad message")) << lines[1];
    EXPECT_TRUE(lines[2].ends_with(" main Module/second: 100 %s")) << lines[2];
}

TEST_F(TracePlugInTest, WithoutAPlaceTheEntryPointsAnswerMinusOne) {
    EXPECT_TRUE(ended(begin([&] {
        ::setenv("XDG_STATE_HOME", "/dev/null", 1);
        const EntryPoints plugIn;
        EXPECT_EQ(plugIn.call(8, "lost"), -1);
        EXPECT_EQ(plugIn.fileName(), nullptr);
        return !HasFailure();
    })));
}

}  // namespace
