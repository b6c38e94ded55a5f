#pragma once

#include "mediaconverter/FaultTest.h"

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace mediatest {

/// Converts with system calls that fail.
class InjectedFaultsTest : public FaultTest {
protected:
    /// With audio whose packets are always copied one by one.
    InjectedFaultsTest() { use(samples::make("mkv", {"-c:v", "libx264", "-preset", "veryfast", "-c:a", "ac3"})); }

    void use(const std::string& recording) {
        content_ = contentOf(recording);
        source_ = put("a.mkv", content_);
    }

    /// Some megabytes, so that there are more calls than for the first buffers.
    void useLargerSource() {
        use(samples::make("mkv", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "ac3"}, 20));
    }

    struct Outcome {
        ProcessResult result;
        std::size_t hits = 0;
    };

    /// Converts with the fault, and checks what must hold in any case.
    Outcome convertWith(const std::string& fault, std::vector<std::string> environment = {}) {
        const TemporaryFolder scratch;
        const std::string hit = scratch.file("hit");
        environment.insert(environment.end(),
                           {"LD_PRELOAD=" MEDIACONVERTER_FAULTS, "FAULT=" + fault, "FAULT_HIT=" + hit});
        std::filesystem::remove(destination());
        Outcome outcome{convertInProcess(source_, destination(), environment), 0};
        outcome.hits = contentOf(hit).size();
        const bool published = std::filesystem::exists(destination());
        EXPECT_EQ(published, outcome.result.saidHundred()) << fault << "\n" << outcome.result.output;
        EXPECT_NE(outcome.result.saidHundred(), outcome.result.output.find("error ") != std::string::npos) << fault;
        EXPECT_EQ(folder_.names().size(), published ? 2U : 1U) << fault;
        EXPECT_TRUE(contentOf(source_) == content_) << fault;
        if (published) {
            EXPECT_EQ(packetHashes(destination()), packetHashes(source_)) << fault;
        }
        return outcome;
    }

    /// Makes every call of the function fail in turn and expects an error of `expected` each time. Returns their
    /// number.
    int expectErrorForEachCall(const std::string& call, int number, const std::set<ConversionError>& expected,
                               const std::vector<std::string>& environment = {}) {
        for (int n = 1; n < 200; ++n) {
            const auto outcome =
                convertWith(call + ":" + std::to_string(n) + ":" + std::to_string(number), environment);
            if (outcome.hits == 0) {
                EXPECT_TRUE(outcome.result.saidHundred());
                return n - 1;
            }
            bool said = false;
            for (const ConversionError error : expected) {
                said = said || outcome.result.saidError(error);
            }
            EXPECT_TRUE(said) << call << " " << n << ": " << outcome.result.output;
        }
        ADD_FAILURE() << "no end of " << call;
        return 0;
    }

    std::string source_;
    std::string content_;
};

}  // namespace mediatest
