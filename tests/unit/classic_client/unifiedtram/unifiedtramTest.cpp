#include "unifiedtram/unifiedtram.h"

#include "support/RecordingTrace.h"

#include <cstdarg>
#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

struct RawCall {
    std::uint64_t level;
    std::vector<std::optional<std::string>> texts;
};

RawCall lastRaw{};

std::int32_t recordRaw(std::uint64_t level, const char* first, const char* second, const char* third) {
    lastRaw = {level, {}};
    for (const char* const text : {first, second, third}) {
        lastRaw.texts.push_back(text != nullptr ? std::optional<std::string>(text) : std::nullopt);
    }
    return 77;
}

const char* fileName() {
    return "/var/log/trace.log";
}

KTR_PRINTF(4, 5)
std::int32_t callTrace2(std::uint64_t level, const char* module, const char* second, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::int32_t result = KTRTRACE2(level, module, second, format, arguments);
    va_end(arguments);
    return result;
}

// A call through an address that the compiler does not know reaches the real functions, like a call from a program
// built by another compiler; a call by name looks for the plug-in itself.
using Plain = std::int32_t (*)(const char* format, ...);
using WithModule = std::int32_t (*)(const char* module, const char* format, ...);
const Plain volatile plainByAddress[] = {KTRDEBUG, KTRINFO, KTRWARN, KTRERROR};
const WithModule volatile withModuleByAddress[] = {KTRDEBUG2,      KTRINFO2,      KTRWARN2,      KTRERROR2,
                                                   MacDebugTrace2, MacInfoTrace2, MacWarnTrace2, MacErrorTrace2};
constexpr std::uint64_t levels[] = {1, 2, 4, 8};

/// Installs entry points and removes them.
class unifiedtramTest : public testing::Test {
protected:
    ~unifiedtramTest() override {
        g_ktrtraceraw = nullptr;
        g_ktrtracefilename = nullptr;
    }
};

TEST_F(unifiedtramTest, WithoutAPlugInEveryTraceFunctionAnswersMinusOne) {
    ASSERT_EQ(g_ktrtrace.load(), nullptr) << "the unit tests run without a plug-in";
    EXPECT_EQ(callTrace2(2, "m", "s", "%d", 1), -1);
    EXPECT_EQ(KTRTRACERAW(2, "a", "b", "c"), -1);
    EXPECT_EQ(KTRDEBUG("%d", 1), -1);
    EXPECT_EQ(KTRINFO("%d", 1), -1);
    EXPECT_EQ(KTRWARN("%d", 1), -1);
    EXPECT_EQ(KTRERROR("%d", 1), -1);
    EXPECT_EQ(KTRDEBUG2("m", "%d", 1), -1);
    EXPECT_EQ(KTRINFO2("m", "%d", 1), -1);
    EXPECT_EQ(KTRWARN2("m", "%d", 1), -1);
    EXPECT_EQ(KTRERROR2("m", "%d", 1), -1);
    EXPECT_EQ(MacDebugTrace2("m", "%d", 1), -1);
    EXPECT_EQ(MacInfoTrace2("m", "%d", 1), -1);
    EXPECT_EQ(MacWarnTrace2("m", "%d", 1), -1);
    EXPECT_EQ(MacErrorTrace2("m", "%d", 1), -1);
}

TEST_F(unifiedtramTest, WithoutAPlugInTheFunctionsProperAnswerMinusOneToo) {
    for (const auto volatile& function : plainByAddress) {
        EXPECT_EQ(function("%d", 1), -1);
    }
    for (const auto volatile& function : withModuleByAddress) {
        EXPECT_EQ(function("m", "%d", 1), -1);
    }
}

TEST_F(unifiedtramTest, WithoutAPlugInTheFileNameIsNull) {
    EXPECT_EQ(MacTraceFileName2(), nullptr);
    EXPECT_EQ(KTRTRACEFILENAME2(), nullptr);
}

TEST_F(unifiedtramTest, WithoutAPlugInNothingIsFormatted) {
    // An argument that no formatting would survive.
    const char* const dangling = reinterpret_cast<const char*>(std::uintptr_t{1});
    EXPECT_EQ(MacInfoTrace2("RecordConverter", "%s", dangling), -1);
}

TEST_F(unifiedtramTest, TheLevelsAreOneBitEach) {
    EXPECT_EQ(kKTRTraceLevelDebug, 1U);
    EXPECT_EQ(kKTRTraceLevelInfo, 2U);
    EXPECT_EQ(kKTRTraceLevelWarning, 4U);
    EXPECT_EQ(kKTRTraceLevelError, 8U);
}

TEST_F(unifiedtramTest, EachFunctionPassesItsLevelItsModuleAndANullSecondText) {
    const test::RecordingTrace trace;
    KTRDEBUG("%d %s", 1, "a");
    KTRINFO("%d %s", 2, "b");
    KTRWARN("%d %s", 3, "c");
    KTRERROR("%d %s", 4, "d");
    KTRDEBUG2("module", "%d %s", 5, "e");
    KTRINFO2("module", "%d %s", 6, "f");
    KTRWARN2("module", "%d %s", 7, "g");
    KTRERROR2("module", "%d %s", 8, "h");
    MacDebugTrace2("module", "%d %s", 9, "i");
    MacInfoTrace2("module", "%d %s", 10, "j");
    MacWarnTrace2("module", "%d %s", 11, "k");
    MacErrorTrace2("module", "%d %s", 12, "l");
    const std::vector<std::pair<std::uint64_t, std::string>> expected = {
        {1, "1 a"}, {2, "2 b"}, {4, "3 c"}, {8, "4 d"},  {1, "5 e"},  {2, "6 f"},
        {4, "7 g"}, {8, "8 h"}, {1, "9 i"}, {2, "10 j"}, {4, "11 k"}, {8, "12 l"}};
    const auto lines = trace.lines();
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].level, expected[i].first) << i;
        EXPECT_EQ(lines[i].text, expected[i].second);
        EXPECT_EQ(lines[i].module, i < 4 ? std::nullopt : std::optional<std::string>("module")) << i;
        EXPECT_EQ(lines[i].second, std::nullopt) << i;
    }
}

TEST_F(unifiedtramTest, TheFunctionsProperPassTheSame) {
    test::RecordingTrace trace;
    trace.setResult(31);
    int number = 0;
    for (const auto volatile& function : plainByAddress) {
        EXPECT_EQ(function("%d %s %.1f", number++, "a", 0.5), 31);
    }
    for (const auto volatile& function : withModuleByAddress) {
        EXPECT_EQ(function("module", "%d %s %.1f", number++, "a", 0.5), 31);
    }
    const auto lines = trace.lines();
    ASSERT_EQ(lines.size(), 12U);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].level, levels[i % 4]) << i;
        EXPECT_EQ(lines[i].text, std::to_string(i) + " a 0.5");
        EXPECT_EQ(lines[i].module, i < 4 ? std::nullopt : std::optional<std::string>("module")) << i;
        EXPECT_EQ(lines[i].second, std::nullopt) << i;
    }
}

TEST_F(unifiedtramTest, NullModulesArePassedOnAsTheyAre) {
    const test::RecordingTrace trace;
    KTRINFO2(nullptr, "x");
    MacInfoTrace2(nullptr, "x");
    EXPECT_EQ(trace.lines()[0].module, std::nullopt);
    EXPECT_EQ(trace.lines()[1].module, std::nullopt);
}

TEST_F(unifiedtramTest, Trace2PassesAllFiveOnUnchanged) {
    const test::RecordingTrace trace;
    callTrace2(0xF000000000000003U, "module", "second", "%s", "text");
    const auto line = trace.lines().at(0);
    EXPECT_EQ(line.level, 0xF000000000000003U);
    EXPECT_EQ(line.module, "module");
    EXPECT_EQ(line.second, "second");
    EXPECT_EQ(line.text, "text");
}

TEST_F(unifiedtramTest, TheResultIsThePlugIns) {
    test::RecordingTrace trace;
    trace.setResult(-123456);
    EXPECT_EQ(MacInfoTrace2("m", "x"), -123456);
    EXPECT_EQ(KTRERROR("x"), -123456);
    EXPECT_EQ(KTRWARN2("m", "x"), -123456);
    EXPECT_EQ(callTrace2(1, "m", "s", "x"), -123456);
}

TEST_F(unifiedtramTest, TheRawFunctionPassesAllFourOnUnchanged) {
    g_ktrtraceraw = recordRaw;
    EXPECT_EQ(KTRTRACERAW(9, "a", nullptr, "%s"), 77);
    EXPECT_EQ(lastRaw.level, 9U);
    EXPECT_EQ(lastRaw.texts, (std::vector<std::optional<std::string>>{"a", std::nullopt, "%s"}));
}

TEST_F(unifiedtramTest, TheFileNameIsThePlugIns) {
    g_ktrtracefilename = fileName;
    EXPECT_STREQ(MacTraceFileName2(), "/var/log/trace.log");
    EXPECT_STREQ(KTRTRACEFILENAME2(), "/var/log/trace.log");
}

TEST_F(unifiedtramTest, EachEntryPointStandsOnItsOwn) {
    g_ktrtracefilename = fileName;
    EXPECT_EQ(MacInfoTrace2("m", "x"), -1);
    EXPECT_EQ(KTRTRACERAW(1, "a", "b", "c"), -1);
    EXPECT_NE(MacTraceFileName2(), nullptr);
}

TEST_F(unifiedtramTest, ManyThreadsMayTraceAtOnce) {
    const test::RecordingTrace trace;
    constexpr int threadCount = 8;
    constexpr int lineCount = 200;
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([i] {
            for (int line = 0; line < lineCount; ++line) {
                MacInfoTrace2("RecordConverter", "%d %d", i, line);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(trace.lines().size(), std::size_t{threadCount} * lineCount);
}

}  // namespace
