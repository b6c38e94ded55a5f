#include "mediaconverter/Converters.h"
#include "mediaconverter/RecordingSink.h"
#include "mediaconverter/Samples.h"
#include "support/ScriptedMediaConverter.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>

// What the application relies on, with any media converter.

namespace {

using namespace mediatest;

struct Provider {
    const char* name;
    CreateFunction (*create)();
    /// Prepares the provider for one conversion that fails.
    void (*scriptFailure)();
    /// Prepares it for one that continues after its first progress value.
    void (*scriptLongJob)();
    /// Prepares it for one that succeeds.
    void (*scriptSuccess)();
};

CreateFunction scriptedConverter() {
    return &support::ScriptedMediaConverter::create;
}

void nothing() {}

const Provider scripted = {
    "Scripted", &scriptedConverter,
    [] {
        support::ScriptedMediaConverter::script({.progress = {0, 10}, .error = 7});
    },
    [] {
        support::ScriptedMediaConverter::script({.progress = {0, 10, 100}, .blocks = true});
    },
    [] {
        support::ScriptedMediaConverter::script({.progress = {0, 50, 99, 100}, .output = "an MP4"});
    }};

const Provider shipped = {"Shipped", &shippedConverter, &nothing, &nothing, &nothing};

class MediaConverterContract : public testing::TestWithParam<Provider> {
protected:
    MediaConverterContract() { support::ScriptedMediaConverter::reset(); }

    ConverterPointer converter() { return make(GetParam().create(), sink_); }

    /// A conversion that fails because its source does not exist.
    int convertWhatFails(zed::IZedMediaConverter& converter) {
        GetParam().scriptFailure();
        return converter.Convert(folder_.file("missing.mkv").c_str(), destination().c_str(), 3, 4);
    }

    int convertWhatSucceeds(zed::IZedMediaConverter& converter) {
        GetParam().scriptSuccess();
        return converter.Convert(samples::matroska().c_str(), destination().c_str(), 3, 4);
    }

    std::string destination() const { return folder_.file("out.mp4"); }

    RecordingSink sink_;
    TemporaryFolder folder_;
};

TEST_P(MediaConverterContract, CreationLeavesAConverterThatStandsIdle) {
    const auto made = converter();
    EXPECT_NE(made, nullptr);
    EXPECT_EQ(sink_.count(), 0U);
}

TEST_P(MediaConverterContract, ReleaseWithoutAConversionReportsNothing) {
    converter().reset();
    EXPECT_EQ(sink_.count(), 0U);
}

TEST_P(MediaConverterContract, SuccessIsOneHundredAndTheLastReport) {
    const auto made = converter();
    convertWhatSucceeds(*made);
    EXPECT_TRUE(sink_.isSuccess());
    EXPECT_TRUE(std::filesystem::exists(destination()));
}

TEST_P(MediaConverterContract, ProgressNeverGoesBackAndStaysBelowHundredUntilTheEnd) {
    const auto made = converter();
    convertWhatSucceeds(*made);
    const auto progress = sink_.progress();
    ASSERT_GE(progress.size(), 2U);
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    EXPECT_GE(progress.front(), 0.0F);
    EXPECT_LT(progress[progress.size() - 2], 100.0F);
}

TEST_P(MediaConverterContract, FailureIsOnePositiveCodeAndNoHundred) {
    const auto made = converter();
    convertWhatFails(*made);
    ASSERT_TRUE(sink_.onlyError().has_value());
    EXPECT_GT(*sink_.onlyError(), 0);
    EXPECT_FALSE(std::filesystem::exists(destination()));
}

TEST_P(MediaConverterContract, ConvertsOnTheCallingThread) {
    const auto made = converter();
    convertWhatSucceeds(*made);
    for (const auto thread : sink_.threads()) {
        EXPECT_EQ(thread, std::this_thread::get_id());
    }
    EXPECT_TRUE(sink_.isSuccess()) << "the ending comes before Convert returns";
}

TEST_P(MediaConverterContract, OneConverterConvertsSeveralFilesInTurn) {
    const auto made = converter();
    convertWhatFails(*made);
    convertWhatSucceeds(*made);
    EXPECT_EQ(sink_.errors().size(), 1U);
    EXPECT_EQ(sink_.progress().back(), 100.0F);
}

TEST_P(MediaConverterContract, NoCallbackComesAfterReleaseHasReturned) {
    GetParam().scriptLongJob();
    auto made = converter();
    zed::IZedMediaConverter* const raw = made.get();
    const std::string source = samples::make("mkv", {"-c:v", "rawvideo", "-pix_fmt", "yuv420p", "-an"}, 8);
    std::thread job([&] { raw->Convert(source.c_str(), destination().c_str(), 3, 4); });
    ASSERT_TRUE(sink_.waitForCount(1));
    made.reset();
    const std::size_t atRelease = sink_.count();
    job.join();
    EXPECT_EQ(sink_.count(), atRelease);
    EXPECT_EQ(sink_.isSuccess(), std::filesystem::exists(destination()));
}

TEST_P(MediaConverterContract, ReleaseFromACallbackIsTheLastThatIsHeard) {
    GetParam().scriptLongJob();
    support::ScriptedMediaConverter::unblock();
    auto made = converter();
    zed::IZedMediaConverter* const raw = made.get();
    sink_.inCallback = [&] { made.reset(); };
    raw->Convert(samples::matroska().c_str(), destination().c_str(), 3, 4);
    EXPECT_EQ(sink_.count(), 1U);
    EXPECT_FALSE(std::filesystem::exists(destination()));
}

INSTANTIATE_TEST_SUITE_P(Providers, MediaConverterContract, testing::Values(scripted, shipped),
                         [](const auto& test) { return test.param.name; });

}  // namespace
