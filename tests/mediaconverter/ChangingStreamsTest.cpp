#include "mediaconverter/FaultTest.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>

// Video that changes its size or shape in mid-stream and must be re-encoded: the MP4 has room for the largest frame,
// and no frame is stretched.

namespace {

using namespace mediatest;
namespace fs = std::filesystem;

/// One part of such a recording.
struct Part {
    const char* size;
    const char* aspect = "1";  ///< of a pixel
};

class ChangingStreamsTest : public FaultTest {
protected:
    /// Half a second per part of a red field with a blue square in its middle, a quarter of its height high.
    std::string record(const std::string& extension, const Words& codec, const std::vector<Part>& parts) {
        std::string list;
        for (const Part& part : parts) {
            const std::string name = "part" + std::to_string(list.size()) + ".mkv";
            const std::string square = std::string("drawbox=color=blue:t=fill:h=ih/4:w=ih/4/") + part.aspect +
                                       ":x=(iw-w)/2:y=(ih-h)/2,setsar=" + part.aspect;
            Words arguments = {"-f", "lavfi", "-i",  std::string("color=red:rate=10:size=") + part.size,
                               "-t", "0.5",   "-vf", square};
            arguments.insert(arguments.end(), codec.begin(), codec.end());
            arguments.push_back(name);
            list += "file '" + ffmpeg(arguments) + "'\n";
        }
        put("list", list);
        return ffmpeg({"-f", "concat", "-safe", "0", "-i", folder_.file("list"), "-c", "copy", "both." + extension});
    }

    /// One frame of the result, as red, green and blue.
    struct Picture {
        int width = 0;
        int height = 0;
        std::string bytes;

        bool isBlue(int x, int y) const { return at(x, y, 2) > 150 && at(x, y, 0) < 100; }
        bool isRed(int x, int y) const { return at(x, y, 0) > 150 && at(x, y, 2) < 100; }
        bool isBlack(int x, int y) const { return at(x, y, 0) < 60 && at(x, y, 1) < 60 && at(x, y, 2) < 60; }

        /// Lines or columns of the square through the middle.
        int squareWidth() const {
            int count = 0;
            for (int x = 0; x < width; ++x) {
                count += isBlue(x, height / 2) ? 1 : 0;
            }
            return count;
        }
        int squareHeight() const {
            int count = 0;
            for (int y = 0; y < height; ++y) {
                count += isBlue(width / 2, y) ? 1 : 0;
            }
            return count;
        }

    private:
        int at(int x, int y, int channel) const {
            return static_cast<unsigned char>(bytes.at(static_cast<std::size_t>((y * width + x) * 3 + channel)));
        }
    };

    Picture pictureAt(const std::string& seconds) const {
        Picture picture;
        const std::string size = probe(destination(), "stream=width,height").at(0);
        picture.width = std::atoi(size.c_str());
        picture.height = std::atoi(size.substr(size.find(',') + 1).c_str());
        picture.bytes = outputOf({"ffmpeg", "-v", "error", "-ss", seconds, "-i", destination(), "-frames:v", "1",
                                  "-pix_fmt", "rgb24", "-f", "rawvideo", "-"});
        return picture;
    }

    static void expectSquare(const Picture& picture, double pixelAspect = 1) {
        ASSERT_GT(picture.squareHeight(), 0);
        EXPECT_NEAR(picture.squareWidth() * pixelAspect / picture.squareHeight(), 1, 0.12)
            << picture.squareWidth() << "x" << picture.squareHeight();
    }
};

struct Codec {
    const char* name;
    const char* extension;
    Words options;
};

class GrowingVideoTest : public ChangingStreamsTest, public testing::WithParamInterface<Codec> {};

TEST_P(GrowingVideoTest, BecomesAsLargeAsItsLargestPicture) {
    const std::string source =
        record(GetParam().extension, GetParam().options, {{"320x180"}, {"640x360"}, {"1280x720"}, {"480x270"}});
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream=width,height"), Words{"1280,720"});
    EXPECT_EQ(packetCounts(destination()), std::vector<int>{20});
    for (const char* const seconds : {"0.2", "0.7", "1.2", "1.7"}) {
        const Picture picture = pictureAt(seconds);
        expectSquare(picture);
        EXPECT_NEAR(picture.squareHeight(), 180, 10) << "not scaled up to the whole at " << seconds;
        EXPECT_TRUE(picture.isRed(4, 4)) << "a bar where none is needed, at " << seconds;
    }
}

INSTANTIATE_TEST_SUITE_P(Codecs, GrowingVideoTest,
                         testing::Values(Codec{"Vp8", "webm", {"-c:v", "libvpx", "-deadline", "realtime"}},
                                         Codec{"Mjpeg", "mkv", {"-c:v", "mjpeg", "-q:v", "3"}}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(ChangingStreamsTest, APictureThatIsTurnedKeepsItsShapeAndItsLines) {
    expectSuccess(record("webm", {"-c:v", "libvpx", "-deadline", "realtime"}, {{"640x360"}, {"360x640"}}));
    EXPECT_EQ(probe(destination(), "stream=width,height"), Words{"640,640"});
    const Picture wide = pictureAt("0.2");
    expectSquare(wide);
    EXPECT_NEAR(wide.squareHeight(), 90, 5);
    EXPECT_TRUE(wide.isBlack(320, 20));
    EXPECT_TRUE(wide.isRed(20, 320));
    const Picture high = pictureAt("0.7");
    expectSquare(high);
    EXPECT_NEAR(high.squareHeight(), 160, 8);
    EXPECT_TRUE(high.isBlack(20, 320));
    EXPECT_TRUE(high.isRed(320, 20));
}

TEST_F(ChangingStreamsTest, PicturesOfOtherPixelsKeepTheirShape) {
    expectSuccess(record("mkv", {"-c:v", "mjpeg", "-q:v", "3"}, {{"640x360"}, {"320x240"}}));
    const Picture second = pictureAt("0.7");
    expectSquare(second);
    EXPECT_TRUE(second.isBlack(20, 180));
}

TEST_F(ChangingStreamsTest, PicturesOfAnotherAspectKeepTheirShape) {
    expectSuccess(record("mkv", {"-c:v", "mjpeg", "-q:v", "3"}, {{"640x360"}, {"160x240", "2"}}));
    expectSquare(pictureAt("0.2"));
    expectSquare(pictureAt("0.7"));
}

TEST_F(ChangingStreamsTest, AnAspectOfThePixelsSurvives) {
    expectSuccess(record("mkv", {"-c:v", "mjpeg", "-q:v", "3"}, {{"352x288", "12/11"}}));
    EXPECT_EQ(probe(destination(), "stream=width,height,sample_aspect_ratio"), Words{"352,288,12:11"});
}

}  // namespace
