#include "mediaconverter/FaultTest.h"
#include "mediaconverter/HostileApplication.h"
#include "mediaconverter/Processes.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <future>
#include <map>
#include <sys/time.h>
#include <unistd.h>

// A worker that was taken over by the file it reads, or is broken in the oddest ways: the application continues in
// time, with one error, and publishes nothing of its output.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;
using std::chrono::seconds;
using std::chrono::steady_clock;

struct Ending {
    ProcessResult result;
    seconds taken{};
    bool isAsBefore = false;
};

Ending convertIn(const HostileApplication& application, const std::vector<std::string>& before = {}) {
    const auto start = steady_clock::now();
    // Longer than any of them may take; a test that hangs must fail.
    std::vector<std::string> command = {"timeout", "--kill-after=1",     "100",
                                        "env",     "SECRET=of the user", "LD_HARMLESS=for the loader"};
    command.insert(command.end(), before.begin(), before.end());
    command.insert(command.end(), {"sh", "-c", "exec \"$@\" 2>&1", "sh", convertOne(), application.library(),
                                   application.source(), application.destination()});
    Ending ending;
    ending.result.status = runFor(command, ending.result.output);
    ending.taken = std::chrono::duration_cast<seconds>(steady_clock::now() - start);
    ending.isAsBefore = application.isAsBefore();
    return ending;
}

Ending convertWith(const std::string& how, const std::vector<std::string>& before = {}) {
    return convertIn(HostileApplication(how), before);
}

/// Workers that only a time limit can detect, all at once.
class PatienceTest : public testing::TestWithParam<std::pair<const char*, ConversionError>> {
protected:
    static void SetUpTestSuite() {
        static_cast<void>(samples::matroska());
        // All files are written before any process starts: it would inherit open ones, and a conversion waits until no
        // process has its source open for writing.
        std::map<std::string, HostileApplication> applications;
        for (const auto* how : {"half a message, then silence", "closed reports", "closed reports, computing",
                                "done without ending", "done, computing", "the same progress", "uninterruptible"}) {
            applications.try_emplace(how, how);
        }
        std::map<std::string, std::future<Ending>> running;
        for (const auto& entry : applications) {
            running[entry.first] = std::async(std::launch::async, [&entry] { return convertIn(entry.second); });
        }
        for (auto& [how, ending] : running) {
            endings()[how] = ending.get();
        }
    }

    static std::map<std::string, Ending>& endings() {
        static std::map<std::string, Ending> instance;
        return instance;
    }
};

TEST_P(PatienceTest, EndsAfterThirtySeconds) {
    const Ending& ending = endings()[GetParam().first];
    EXPECT_TRUE(ending.result.saidError(GetParam().second)) << ending.result.output;
    EXPECT_EQ(ending.result.status, 0);
    EXPECT_TRUE(ending.isAsBefore);
    EXPECT_GE(ending.taken, seconds(29));
    EXPECT_LE(ending.taken, seconds(60));
}

INSTANTIATE_TEST_SUITE_P(
    Hung, PatienceTest,
    testing::Values(std::pair("half a message, then silence", workerHung), std::pair("closed reports", workerHung),
                    std::pair("closed reports, computing", workerHung), std::pair("done without ending", workerHung),
                    std::pair("done, computing", workerHung), std::pair("the same progress", workerHung),
                    // Not hung: for 36 seconds it appears to wait for a disk.
                    std::pair("uninterruptible", workerCrashed)),
    [](const auto& test) {
        std::string name = test.param.first;
        std::erase_if(name, [](char c) { return std::isalpha(static_cast<unsigned char>(c)) == 0; });
        return name;
    });

TEST(HostileWorkerTest, AMessageThatEndsInTheMiddleIsNonsense) {
    const Ending ending = convertWith("half a message, then the end");
    EXPECT_TRUE(ending.result.saidError(workerNonsense)) << ending.result.output;
    EXPECT_TRUE(ending.isAsBefore);
}

TEST(HostileWorkerTest, ItsNotesDoNotFloodTheLog) {
    const Ending ending = convertWith("notes without end");
    const auto lines = linesOf(ending.result.output);
    const auto notes = std::count_if(lines.begin(), lines.end(),
                                     [](const auto& line) { return line.find(": line ") != std::string::npos; });
    EXPECT_EQ(notes, 200);
    EXPECT_NE(ending.result.output.find("further notes are dropped"), std::string::npos);
    EXPECT_TRUE(ending.result.saidError(workerCrashed)) << ending.result.output;
}

TEST(HostileWorkerTest, MessagesWithoutEndAreNonsense) {
    EXPECT_TRUE(convertWith("messages without end").result.saidError(workerNonsense));
}

TEST(HostileWorkerTest, ItsProcessorTimeIsLimited) {
    const Ending ending = convertWith("limits");
    const auto expected = 600 + fs::file_size(samples::matroska()) / 1000;
    EXPECT_NE(ending.result.output.find("processor seconds " + std::to_string(expected) + "\n"), std::string::npos)
        << ending.result.output;
}

TEST(HostileWorkerTest, BeyondItsProcessorTimeItIsEndedWithAnErrorOfItsOwn) {
    // A tighter limit with which the application was started wins.
    for (const char* limit : {"--cpu=2:60", "--cpu=2"}) {
        const Ending ending = convertWith("computing", {"prlimit", limit});
        EXPECT_TRUE(ending.result.saidError(workerOverBudget)) << ending.result.output;
        EXPECT_TRUE(ending.isAsBefore);
    }
}

TEST(HostileWorkerTest, ItsOutputMayGrowOnlySoFar) {
    for (const char* how : {"growing", "done, then growing"}) {
        const Ending ending = convertWith(how);
        EXPECT_TRUE(ending.result.saidError(fileTooLarge)) << ending.result.output;
        EXPECT_LE(ending.taken, seconds(10));
        EXPECT_TRUE(ending.isAsBefore);
    }
}

TEST(HostileWorkerTest, OfTheEnvironmentItSeesOnlyWhatItsLoaderReads) {
    const std::string output = convertWith("environment").result.output;
    EXPECT_NE(output.find("environment LD_HARMLESS=for the loader"), std::string::npos) << output;
    EXPECT_EQ(output.find("SECRET"), std::string::npos);
    EXPECT_EQ(output.find("environment HOME="), std::string::npos);
    EXPECT_EQ(output.find("environment PATH="), std::string::npos) << output;
}

TEST(HostileWorkerTest, ProgressNeverGoesBackWhateverItReports) {
    const std::string output = convertWith("back and forth").result.output;
    std::vector<double> progress;
    for (const std::string& line : linesOf(output)) {
        if (line.starts_with("progress ")) {
            progress.push_back(std::stod(line.substr(9)));
        }
    }
    EXPECT_EQ(progress.size(), 4U) << output;
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end())) << output;
    EXPECT_LT(progress.back(), 100) << output;
}

#ifdef MEDIACONVERTER_FAULTS  // which simulates the interruption
TEST(HostileWorkerTest, AnInterruptedWaitDoesNotHideThatItCrashed) {
    const Ending ending = convertWith(
        "done, then a crash", {"LD_PRELOAD=" MEDIACONVERTER_FAULTS, "FAULT=library:wait4:1:" + std::to_string(EINTR)});
    EXPECT_TRUE(ending.result.saidError(workerCrashed)) << ending.result.output;
    EXPECT_TRUE(ending.isAsBefore);
}
#endif

/// The worker that ships, observed from this process.
class ChildTest : public FaultTest {
protected:
    std::string source_ = put("a.nut", contentOf(samples::make("nut", {"-an", "-c:v", "rawvideo"}, 8)));
};

TEST_F(ChildTest, IsInAProcessGroupOfItsOwnAndReapedInTheEnd) {
    pid_t group = 0;
    pid_t worker = 0;
    sink_.inCallback = [&] {
        if (const auto found = workerOf(::getpid())) {
            worker = *found;
            group = ::getpgid(*found);
        }
    };
    convert(source_, destination(), sink_);
    ASSERT_TRUE(sink_.isSuccess());
    ASSERT_NE(worker, 0);
    EXPECT_EQ(group, worker) << "Ctrl-C in a terminal would reach it";
    EXPECT_FALSE(hasChild()) << "a zombie is left";
}

TEST_F(ChildTest, SignalsThatInterruptEveryWaitChangeNothing) {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    struct sigaction before = {};
    ::sigaction(SIGALRM, &action, &before);  // without SA_RESTART
    const itimerval often = {{0, 500}, {0, 500}};
    const itimerval never = {};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    convert(source_, destination(), sink_);
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &before, nullptr);
    EXPECT_TRUE(sink_.isSuccess());
}

TEST_F(ChildTest, ASecondJobOfTheSameConverterReportsAsTheFirst) {
    const auto converter = make(shippedConverter(), sink_);
    converter->Convert(source_.c_str(), destination().c_str(), 3, 4);
    const auto first = sink_.progress();
    fs::remove(destination());
    converter->Convert(source_.c_str(), destination().c_str(), 3, 4);
    const auto both = sink_.progress();
    ASSERT_GT(both.size(), first.size() + 2);
    EXPECT_EQ(both[first.size()], 0.0F);
    EXPECT_LT(both[first.size() + 1], 97.0F);
    EXPECT_EQ(both.back(), 100.0F);
}

}  // namespace
