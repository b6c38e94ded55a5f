#include "mediaconverter/FaultTest.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

// The frame rate of real recordings whose container counts milliseconds.

namespace {

using namespace mediatest;

class FrameRatesTest : public FaultTest {
protected:
    /// Small video of six seconds, or fewer if the filter drops frames; `options` choose its rate and codec.
    std::string record(const std::string& extension, const std::string& rate, const Words& options) {
        return ffmpeg(plus(plus({"-f", "lavfi", "-i", "testsrc2=size=64x64:rate=" + rate, "-f", "lavfi", "-i",
                                 "sine=frequency=440:sample_rate=48000", "-t", "6", "-c:v", "libx264", "-preset",
                                 "ultrafast", "-c:a", "aac"},
                                options),
                           {"rate." + extension}));
    }

    /// When the frames are shown, in seconds after the first one.
    static std::vector<double> shownTimes(const std::string& path) {
        std::vector<double> times;
        for (const std::string& line :
             linesOf(outputOf({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "packet=pts_time",
                               "-of", "csv=p=0", path}))) {
            times.push_back(std::stod(line));
        }
        std::sort(times.begin(), times.end());
        const double first = times.at(0);
        for (double& time : times) {
            time -= first;
        }
        return times;
    }

    /// By how much the frame that moved most is off, in milliseconds.
    double mostOff(const std::string& source) const {
        const auto wanted = shownTimes(source);
        const auto found = shownTimes(destination());
        EXPECT_EQ(wanted.size(), found.size());
        double most = 0;
        for (std::size_t index = 0; index < std::min(wanted.size(), found.size()); ++index) {
            most = std::max(most, std::abs(wanted[index] - found[index]) * 1000);
        }
        return most;
    }

    /// The number of entries in the video's table of decoding times.
    std::size_t tableLength() const {
        const std::string bytes = contentOf(destination());
        const std::size_t table = bytes.find("stts", bytes.find("vmhd"));
        std::size_t count = 0;
        for (std::size_t index = 0; index < 4; ++index) {
            count = count << 8U | static_cast<unsigned char>(bytes.at(table + 8 + index));
        }
        return count;
    }

    std::string rateInMp4() const { return probe(destination(), "stream=avg_frame_rate").at(0); }
};

TEST_F(FrameRatesTest, ConstantRatesAreExactAgain) {
    for (const std::string rate : {"60000/1001", "30000/1001", "24000/1001", "60", "30", "25"}) {
        for (const Words& order : {Words{"-bf", "0"}, Words{"-bf", "3"}}) {
            for (const std::string& extension : order.back() == "0" ? Words{"mkv"} : Words{"mkv", "flv"}) {
                std::filesystem::remove(destination());
                const std::string source = record(extension, rate, order);
                expectSuccess(source);
                EXPECT_EQ(tableLength(), 1U) << rate << " " << extension << " " << order[1];
                EXPECT_LE(mostOff(source), 1.0) << rate << " " << extension << " " << order[1];
                EXPECT_EQ(rateInMp4(), rate.find('/') == std::string::npos ? rate + "/1" : rate);
                EXPECT_EQ(packetHashes(destination()), packetHashes(source));
                std::filesystem::remove(source);
            }
        }
    }
}

TEST_F(FrameRatesTest, VariableRatesStayAsTheyAre) {
    const std::string source = record("mkv", "30",
                                      {"-vf", "settb=1/1000,setpts=N*33+mod(N*N*7\\,23)", "-fps_mode", "passthrough",
                                       "-enc_time_base", "1:1000", "-bf", "0"});
    expectSuccess(source);
    EXPECT_GT(tableLength(), 100U);
    EXPECT_LT(mostOff(source), 0.001);
}

TEST_F(FrameRatesTest, APauseIsKeptAndTheRateIsExactAroundIt) {
    const std::string source = record("mkv", "30",
                                      {"-vf", "settb=1/1000,setpts=round(N*1000/30)+gte(N\\,90)*1717", "-fps_mode",
                                       "passthrough", "-enc_time_base", "1:1000", "-bf", "0"});
    expectSuccess(source);
    EXPECT_LE(mostOff(source), 1.0);
    EXPECT_LT(tableLength(), 25U);
}

TEST_F(FrameRatesTest, FramesThatAScreenRecorderLeavesOutStayMissing) {
    const std::string source =
        record("mkv", "30", {"-vf", "select=not(eq(mod(n*n\\,7)\\,2))", "-fps_mode", "vfr", "-bf", "0"});
    expectSuccess(source);
    EXPECT_LE(mostOff(source), 1.0);
    EXPECT_GT(tableLength(), 50U);
}

TEST_F(FrameRatesTest, ARateThatChangesKeepsItsTimes) {
    const std::string source =
        record("mkv", "30",
               {"-vf", "settb=1/1000,setpts=if(lt(N\\,72)\\,round(N*1000/24)\\,3000+round((N-72)*1000/30))",
                "-fps_mode", "passthrough", "-enc_time_base", "1:1000", "-bf", "0"});
    expectSuccess(source);
    EXPECT_LE(mostOff(source), 1.0);
}

}  // namespace
