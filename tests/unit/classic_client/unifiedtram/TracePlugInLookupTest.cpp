#include "support/TemporaryFolder.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

// Each test builds its own application folder, with a probe program and plug-ins where the test wants them, and reads
// the probe's output.

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

class TracePlugInLookupTest : public testing::Test {
protected:
    TracePlugInLookupTest() {
        fs::create_directories(application / "bin");
        fs::copy_file(TRACE_PROBE, application / "bin" / "probe");
    }

    void place(const char* plugIn, const fs::path& folder) {
        fs::create_directories(folder);
        fs::copy_file(plugIn, folder / "ktrtrace.bundle");
    }

    fs::path plugIns() const { return application / "PlugIns"; }
    fs::path beside() const { return root; }

    Lines run() const {
        const std::string command = "'" + (application / "bin" / "probe").string() + "' 2>&1";
        const std::unique_ptr<FILE, int (*)(FILE*)> output(::popen(command.c_str(), "r"), ::pclose);
        std::string text;
        std::array<char, 4096> buffer{};
        while (const auto count = std::fread(buffer.data(), 1, buffer.size(), output.get())) {
            text.append(buffer.data(), count);
        }
        Lines lines;
        for (std::size_t begin = 0; begin < text.size();) {
            const auto end = text.find('\n', begin);
            const auto line = text.substr(begin, end - begin);
            // Whether the facility exists when the probe writes its own early line depends on the order of the two
            // units.
            if (line.find("early") == std::string::npos) {
                lines.push_back(line);
            }
            begin = end == std::string::npos ? text.size() : end + 1;
        }
        return lines;
    }

    const test::TemporaryFolder temporary;
    const fs::path root = temporary.path();
    // The name contains a blank, like some users' folders.
    const fs::path application = root / "record converter";
};

const std::string tracedInMain = " 2 RecordConverter (null) -[Probe show]: main";

Lines wholePlugIn(const std::string& name) {
    return {"loaded " + name, "trace " + name + tracedInMain, "raw " + name + " 4 a b c",
            "main: trace 100 raw 200 file " + name + ".log",
            "after the exit handler: trace -1 raw -1 file " + name + ".log"};
}

const Lines absent = {"main: trace -1 raw -1 file (null)", "after the exit handler: trace -1 raw -1 file (null)"};

TEST_F(TracePlugInLookupTest, NoPlugInAnywhereIsASilentNoOp) {
    EXPECT_EQ(run(), absent);
}

TEST_F(TracePlugInLookupTest, AnEmptyPlugInsFolderIsASilentNoOp) {
    fs::create_directories(plugIns());
    EXPECT_EQ(run(), absent);
}

TEST_F(TracePlugInLookupTest, ThePlugInInThePlugInsFolderIsUsed) {
    place(PLUGIN_INSIDE, plugIns());
    EXPECT_EQ(run(), wholePlugIn("inside"));
}

TEST_F(TracePlugInLookupTest, ThePlugInBesideTheApplicationFolderIsUsed) {
    place(PLUGIN_BESIDE, beside());
    EXPECT_EQ(run(), wholePlugIn("beside"));
}

TEST_F(TracePlugInLookupTest, WithAPlugInInBothPlacesTheOneInsideIsUsedAndTheOtherNeverLookedAt) {
    place(PLUGIN_INSIDE, plugIns());
    place(PLUGIN_BESIDE, beside());
    EXPECT_EQ(run(), wholePlugIn("inside"));
}

TEST_F(TracePlugInLookupTest, APlugInInsideThatCannotBeLoadedGivesWayToTheOneBeside) {
    fs::create_directories(plugIns());
    std::ofstream(plugIns() / "ktrtrace.bundle") << "not a shared object\n";
    place(PLUGIN_BESIDE, beside());
    EXPECT_EQ(run(), wholePlugIn("beside"));
}

TEST_F(TracePlugInLookupTest, AFolderInThePlugInsPlaceGivesWayToTheOneBeside) {
    fs::create_directories(plugIns() / "ktrtrace.bundle");
    place(PLUGIN_BESIDE, beside());
    EXPECT_EQ(run(), wholePlugIn("beside"));
}

TEST_F(TracePlugInLookupTest, PlugInsThatCannotBeLoadedInBothPlacesAreASilentNoOp) {
    fs::create_directories(plugIns());
    std::ofstream(plugIns() / "ktrtrace.bundle") << "not a shared object\n";
    std::ofstream(beside() / "ktrtrace.bundle") << "";
    EXPECT_EQ(run(), absent);
}

TEST_F(TracePlugInLookupTest, AMissingRawEntryPointLeavesOnlyItsOwnFunctionWithoutOne) {
    place(PLUGIN_NO_RAW, plugIns());
    EXPECT_EQ(run(), (Lines{"loaded no-raw", "trace no-raw" + tracedInMain, "main: trace 100 raw -1 file no-raw.log",
                            "after the exit handler: trace -1 raw -1 file no-raw.log"}));
}

TEST_F(TracePlugInLookupTest, AMissingTraceEntryPointLeavesOnlyItsOwnFunctionsWithoutOne) {
    place(PLUGIN_NO_TRACE, plugIns());
    EXPECT_EQ(run(), (Lines{"loaded no-trace", "raw no-trace 4 a b c", "main: trace -1 raw 200 file no-trace.log",
                            "after the exit handler: trace -1 raw -1 file no-trace.log"}));
}

TEST_F(TracePlugInLookupTest, AMissingFileNameEntryPointLeavesOnlyItsOwnFunctionWithoutOne) {
    place(PLUGIN_NO_FILENAME, plugIns());
    EXPECT_EQ(run(),
              (Lines{"loaded no-filename", "trace no-filename" + tracedInMain, "raw no-filename 4 a b c",
                     "main: trace 100 raw 200 file (null)", "after the exit handler: trace -1 raw -1 file (null)"}));
}

TEST_F(TracePlugInLookupTest, APlugInWithoutAnyEntryPointIsUsedAllTheSameAndTheOtherNeverLookedAt) {
    place(PLUGIN_EMPTY, plugIns());
    place(PLUGIN_BESIDE, beside());
    auto expected = absent;
    expected.insert(expected.begin(), "loaded empty");
    EXPECT_EQ(run(), expected);
}

TEST_F(TracePlugInLookupTest, TheBinFolderItselfIsNoPlaceForAPlugIn) {
    place(PLUGIN_INSIDE, application / "bin");
    place(PLUGIN_INSIDE, application / "bin" / "PlugIns");
    EXPECT_EQ(run(), absent);
}

}  // namespace
