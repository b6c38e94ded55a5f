#include "mediaconverter/FaultTest.h"

#include <cstdlib>
#include <ostream>

// H.264 with start codes, whose parameter sets are in the stream, in containers that do not repeat them in their
// header, even if the recording starts between two key frames.

namespace {

using namespace mediatest;

struct Begun {
    const char* name;
    const char* extension;
    const char* missing;            ///< condition for packets missing at the start
    std::vector<std::string> more;  ///< names beside the MP4
};

std::ostream& operator<<(std::ostream& out, const Begun& begun) {
    return out << begun.name;
}

class StartCodesTest : public FaultTest, public testing::WithParamInterface<Begun> {
protected:
    /// Number of frames that can be decoded.
    static int picturesIn(const std::string& path) {
        std::string counted;
        runFor({"ffprobe", "-v", "quiet", "-count_frames", "-select_streams", "v:0", "-show_entries",
                "stream=nb_read_frames", "-of", "csv=p=0", path},
               counted);
        return std::atoi(counted.c_str());
    }
};

TEST_P(StartCodesTest, EveryPictureThatCanBeDecodedIsInTheMp4) {
    const std::string source =
        ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=2", "-c:v", "libx264", "-preset",
                "ultrafast", "-g", "10", "-bsf:v", std::string("h264_mp4toannexb,noise=drop=") + GetParam().missing,
                std::string("begun.") + GetParam().extension});
    ASSERT_GT(picturesIn(source), 30);
    expectSuccess(source, GetParam().more);
    EXPECT_EQ(probe(destination(), "stream=codec_name"), Words{"h264"});
    EXPECT_GE(picturesIn(destination()), picturesIn(source));
}

INSTANTIATE_TEST_SUITE_P(Containers, StartCodesTest,
                         testing::Values(Begun{"Avi", "avi", "0", {}},
                                         Begun{"AviWithoutItsBeginning", "avi", "lt(n\\,5)", {}},
                                         // NUT is not accounted for.
                                         Begun{"Nut", "nut", "0", {"begun (damaged).nut"}},
                                         Begun{"NutWithoutItsBeginning", "nut", "lt(n\\,5)", {"begun (damaged).nut"}},
                                         Begun{"Matroska", "mkv", "lt(n\\,5)", {}}, Begun{"Ts", "ts", "lt(n\\,5)", {}}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
