#include "mediaconverter/FaultTest.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

// Sources that are not a complete recording: one error each.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;

class SourceFaultsTest : public FaultTest {};

std::string randomBytes(std::size_t length, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::string bytes(length, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

const std::vector<std::string> h264Aac = {"-c:v", "libx264", "-preset", "veryfast", "-g", "25", "-c:a", "aac"};

std::string sample(const std::string& extension, std::vector<std::string> more = {}) {
    auto codecs = h264Aac;
    codecs.insert(codecs.end(), more.begin(), more.end());
    return samples::make(extension, codecs);
}

std::string fragmented() {
    return sample("mp4", {"-movflags", "frag_keyframe+empty_moov"});
}

TEST_F(SourceFaultsTest, AnEmptyFileIsAnError) {
    expectError(put("a.mkv", ""), sourceEmpty);
}

TEST_F(SourceFaultsTest, RandomBytesZerosAndTextAreNoRecordings) {
    for (unsigned seed = 1; seed <= 5; ++seed) {
        expectError(put("random.mkv", randomBytes(300'000, seed)), notARecording);
    }
    expectError(put("zeros.mkv", std::string(300'000, '\0')), notARecording);
    expectError(put("text.mkv", "Dear all,\n\nthe meeting is moved to Tuesday.\n"), notARecording);
    expectError(put("byte.mkv", "x"), notARecording);
}

TEST_F(SourceFaultsTest, AHeaderWithoutPacketsIsAnError) {
    const std::string whole = contentOf(samples::matroska());
    const auto cluster = whole.find("\x1F\x43\xB6\x75");
    ASSERT_NE(cluster, std::string::npos);
    expectError(put("a.mkv", whole.substr(0, cluster)), nothingRecorded);
    const std::string mp4 = contentOf(fragmented());
    expectError(put("a.mp4", mp4.substr(0, mp4.find("moof") - 4)), nothingRecorded);
}

TEST_F(SourceFaultsTest, AMissingFileIsAnError) {
    expectError(folder_.file("a.mkv"), sourceMissing);
    expectError(put("file", "x") + "/a.mkv", sourceMissing);
}

TEST_F(SourceFaultsTest, AFileThatGoesBetweenCreationAndConversionIsMissing) {
    const std::string source = put("a.mkv", contentOf(samples::matroska()));
    const auto converter = make(shippedConverter(), sink_);
    fs::remove(source);
    converter->Convert(source.c_str(), destination().c_str(), 3, 4);
    EXPECT_EQ(sink_.onlyError(), static_cast<int>(sourceMissing));
}

TEST_F(SourceFaultsTest, WhatIsNoRegularFileIsAnError) {
    fs::create_directory(folder_.file("folder"));
    expectError(folder_.file("folder"), sourceNotRegular);
    ASSERT_EQ(::mkfifo(folder_.file("fifo").c_str(), 0600), 0);
    expectError(folder_.file("fifo"), sourceNotRegular);
    expectError("/dev/zero", sourceNotRegular);
    fs::create_symlink("/dev/zero", folder_.file("link.mkv"));
    expectError(folder_.file("link.mkv"), sourceNotRegular);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {AF_UNIX, {}};
    std::strncpy(address.sun_path, folder_.file("socket").c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    expectError(folder_.file("socket"), sourceNotRegular);
    ::close(socket);
}

TEST_F(SourceFaultsTest, DanglingAndLoopingLinksAreErrors) {
    fs::create_symlink(folder_.file("nowhere.mkv"), folder_.file("dangling.mkv"));
    expectError(folder_.file("dangling.mkv"), sourceMissing);
    fs::create_symlink(folder_.file("loop.mkv"), folder_.file("loop.mkv"));
    expectError(folder_.file("loop.mkv"), sourceLinkLoop);
}

TEST_F(SourceFaultsTest, ALinkToARecordingIsConverted) {
    fs::create_symlink(samples::matroska(), folder_.file("link.mkv"));
    expectSuccess(folder_.file("link.mkv"));
}

TEST_F(SourceFaultsTest, AFileThatMayNotBeReadIsAnError) {
    const std::string source = put("a.mkv", contentOf(samples::matroska()));
    ASSERT_EQ(::chmod(source.c_str(), 0), 0);
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0777), 0);
    std::vector<std::string> before;
    if (::getuid() == 0) {
        // The superuser may read anything; without these capabilities permissions apply to it as to anybody.
        before = {"setpriv", "--bounding-set=-dac_override,-dac_read_search"};
    }
    const auto result = convertInProcess(source, destination(), {}, before);
    EXPECT_TRUE(result.saidError(sourceNotPermitted)) << result.output;
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.mkv"});
}

TEST_F(SourceFaultsTest, APathBeyondTheLimitIsAnError) {
    std::string path = folder_.path();
    while (path.size() < PATH_MAX) {
        path += "/" + std::string(200, 'x');
    }
    expectError(path, sourceNameTooLong);
    expectError(folder_.file(std::string(256, 'x')), sourceNameTooLong);
}

TEST_F(SourceFaultsTest, PlaylistsAndScriptsAreRefused) {
    expectError(put("hls.mkv", "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:9,\n/etc/passwd\n#EXT-X-ENDLIST\n"),
                formatRefused);
    expectError(put("concat.mkv", "ffconcat version 1.0\nfile '/etc/passwd'\n"), formatRefused);
    expectError(put("dash.mkv", "<?xml version=\"1.0\"?>\n<MPD profiles=\"urn:mpeg:dash:profile:isoff-live:2011\" "
                                "xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\"></MPD>\n"),
                formatRefused);
    expectError(put("sdp.mkv", "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
                               "m=video 5004 RTP/AVP 96\na=rtpmap:96 H264/90000\n"),
                formatRefused);
    expectError(put("subtitles.mkv", "1\n00:00:01,000 --> 00:00:02,000\nHello\n\n"), formatRefused);
}

TEST_F(SourceFaultsTest, PlainMp4WithoutItsIndexSaysSo) {
    const std::string whole = contentOf(sample("mp4"));
    const auto index = whole.rfind("moov");
    ASSERT_NE(index, std::string::npos);
    for (int percent = 5; percent < 100; percent += 5) {
        const std::size_t length = whole.size() * static_cast<std::size_t>(percent) / 100;
        if (length < index - 4 && length > 64) {
            expectError(put("a.mp4", whole.substr(0, length)), indexMissing);
        }
    }
}

TEST_F(SourceFaultsTest, AnEncryptedMp4IsAnError) {
    const std::string source =
        sample("mp4", {"-encryption_scheme", "cenc-aes-ctr", "-encryption_key", "76a6c65c5ea762046bd749a2e632ccbb",
                       "-encryption_kid", "a7e61c373e219033c21091fa607bf3b8"});
    expectError(put("a.mp4", contentOf(source)), encrypted);
}

TEST_F(SourceFaultsTest, ASecondDamagedCopyGetsANameOfItsOwn) {
    std::string bytes = contentOf(samples::make("mkv", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"}, 20));
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), bytes.size() / 8, '\0');
    put("talk (damaged).mkv", "of an earlier day");
    expectSuccess(put("talk.mkv", bytes), {"talk (damaged 2).mkv"});
    EXPECT_EQ(contentOf(folder_.file("talk (damaged).mkv")), "of an earlier day");
}

TEST_F(SourceFaultsTest, OneFrameIsConverted) {
    expectSuccess(put("a.mkv", contentOf(samples::make("mkv", {"-c:v", "libx264", "-c:a", "aac"}, 0.04))));
}

/// Changes the source after the conversion has started.
class ChangingSourceTest : public SourceFaultsTest {
protected:
    template<typename Change>
    void expectChangeIsSeen(Change change) {
        const std::string source = put("a.mkv", contentOf(samples::matroska()));
        bool changed = false;
        sink_.inCallback = [&] {
            if (!changed) {
                changed = true;
                change(source);
            }
        };
        convert(source, destination(), sink_);
        EXPECT_EQ(sink_.onlyError(), static_cast<int>(sourceChanged));
        EXPECT_FALSE(fs::exists(destination()));
        EXPECT_EQ(folder_.names().size(), 1U);
    }
};

TEST_F(ChangingSourceTest, Grows) {
    expectChangeIsSeen([](const std::string& path) { std::ofstream(path, std::ios::app) << "more"; });
}

TEST_F(ChangingSourceTest, Shrinks) {
    expectChangeIsSeen([](const std::string& path) { fs::resize_file(path, fs::file_size(path) / 2); });
}

TEST_F(ChangingSourceTest, IsReplaced) {
    expectChangeIsSeen([](const std::string& path) {
        fs::copy_file(path, path + ".new");
        fs::last_write_time(path + ".new", fs::last_write_time(path));
        fs::rename(path + ".new", path);
    });
}

TEST_F(ChangingSourceTest, IsTouched) {
    expectChangeIsSeen([](const std::string& path) {
        fs::last_write_time(path, fs::last_write_time(path) + std::chrono::seconds(1));
    });
}

TEST_F(ChangingSourceTest, IsTouchedByANanosecond) {
    expectChangeIsSeen([](const std::string& path) {
        fs::last_write_time(path, fs::last_write_time(path) + std::chrono::nanoseconds(1));
    });
}

TEST_F(ChangingSourceTest, GrowsAfterTheMp4HasBeenSynced) {
    const std::string source = put("a.mkv", contentOf(samples::matroska()));
    sink_.inCallback = [&] {
        if (sink_.progress().back() == 99.0F) {
            std::ofstream(source, std::ios::app) << "more";
        }
    };
    convert(source, destination(), sink_);
    EXPECT_EQ(sink_.onlyError(), static_cast<int>(sourceChanged));
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.mkv"});
}

TEST_F(SourceFaultsTest, OddNamesAreJustNames) {
    const std::string content = contentOf(samples::matroska());
    const std::string longest(251, 'n');
    for (const std::string& name :
         {std::string("two words.mkv"), std::string("quote\"'`.mkv"), std::string("line\nbreak.mkv"),
          std::string("back\\slash.mkv"), std::string("%03d.mkv"), std::string("-y.mkv"), std::string("http:a.mkv"),
          std::string("file:a.mkv"), std::string("concat:a.mkv|b.mkv"), std::string("pipe:0"),
          std::string("subfile,,start,0,end,9,,:a.mkv"), std::string("\xFF\xFE\x80.mkv"), longest + ".mkv"}) {
        TemporaryFolder folder;
        writeFile(folder.file(name), content);
        RecordingSink sink;
        const std::string target = name.size() == 255 ? longest + ".mp4" : name + ".mp4";
        // Relative names as well as full ones.
        const auto old = fs::current_path();
        fs::current_path(folder.path());
        convert(name, target, sink);
        fs::current_path(old);
        EXPECT_TRUE(sink.isSuccess()) << name;
        EXPECT_EQ(folder.names().size(), 2U) << name;
    }
}

TEST_F(SourceFaultsTest, ARelativeNameWhoseMp4WouldBeginAtTheRootIsRefused) {
    writeFile(folder_.file("a.mkv"), contentOf(samples::matroska()));
    const auto old = fs::current_path();
    fs::current_path(folder_.path());
    convert("a.mkv", destination(), sink_);
    fs::current_path(old);
    EXPECT_EQ(sink_.onlyError(), static_cast<int>(sourceNotAbsolute));
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.mkv"});
}

TEST_F(SourceFaultsTest, ANewlineInANameForgesNoLogLine) {
    const std::string source = put("a\nmediaconverter: all is well.mkv", "");
    testing::internal::CaptureStderr();
    convert(source, destination(), sink_);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
}

}  // namespace
