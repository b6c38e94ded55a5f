/// What the trace plug-in makes of a call: the text, the line, the level, and the entry points as the application
/// finds them.

#include "unit/plugins/ktrtrace/TracePlugInTest.h"

#include "plugins/ktrtrace/TraceText.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace {

using ktrtrace::TraceLevel;
using test::TracePlugInTest;

// The compiler must not check the format: invalid formats must be handled.
std::optional<std::string> print(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    auto text = ktrtrace::formatted(format, arguments);
#pragma GCC diagnostic pop
    va_end(arguments);
    return text;
}

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
    expectEnd(begin([&] {
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
    }));
    const auto lines = linesOf("trace.log");
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(lines[1].ends_with(" main Module: code 7: Bad message")) << lines[1];
    EXPECT_TRUE(lines[2].ends_with(" main Module/second: 100 %s")) << lines[2];
}

TEST_F(TracePlugInTest, WithoutAPlaceTheEntryPointsAnswerMinusOne) {
    expectEnd(begin([&] {
        ::setenv("XDG_STATE_HOME", "/dev/null", 1);
        const EntryPoints plugIn;
        EXPECT_EQ(plugIn.call(8, "lost"), -1);
        EXPECT_EQ(plugIn.fileName(), nullptr);
    }));
}

}  // namespace
