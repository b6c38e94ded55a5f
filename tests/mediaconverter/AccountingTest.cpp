#include "mediaconverter/AccountingTest.h"

#include <filesystem>

// Every byte of a recording is in the MP4, structure, dropped on purpose, or lost; if any are lost, the recording keeps
// a second name.

namespace {

using namespace mediatest;

class HealthyRecordingTest : public AccountingTest, public testing::WithParamInterface<Container> {};

TEST_P(HealthyRecordingTest, IsAccountedForByteByByte) {
    expectWhole(contentOf(samples::make(GetParam().extension, GetParam().options)));
}

const std::vector<Container> healthy = {
    {"Matroska", "mkv", h264Aac},
    {"MatroskaOfSmallClusters", "mkv", plus(h264Aac, {"-cluster_size_limit", "4096"})},
    {"MatroskaLive", "mkv", plus(h264Aac, {"-live", "1"})},
    {"MatroskaWithItsIndexInFront", "mkv", plus(h264Aac, {"-cues_to_front", "1", "-reserve_index_space", "4096"})},
    {"MatroskaWithoutChecksums", "mkv", plus(h264Aac, {"-write_crc32", "0", "-fflags", "+bitexact"})},
    {"MatroskaWavPack", "mkv", {"-vn", "-c:a", "wavpack"}},
    {"MatroskaMp3", "mka", {"-vn", "-c:a", "libmp3lame"}},
    {"MatroskaPcm", "mkv", {"-c:v", "mjpeg", "-c:a", "pcm_s16le"}},
    {"MatroskaMpeg4Ac3", "mkv", {"-c:v", "mpeg4", "-bf", "2", "-c:a", "ac3"}},
    {"WebmVp9", "webm", {"-c:v", "libvpx-vp9", "-cpu-used", "8", "-deadline", "realtime", "-c:a", "libopus"}},
    {"WebmVp8", "webm", {"-c:v", "libvpx", "-deadline", "realtime", "-c:a", "libvorbis"}},
    {"Mp4", "mp4", h264Aac},
    {"Mp4WithItsIndexInFront", "mp4", plus(h264Aac, {"-movflags", "+faststart"})},
    {"Mp4WithHints", "mp4", plus(h264Aac, {"-movflags", "+rtphint"})},
    {"Mp4Mpeg4Mp3", "mp4", {"-c:v", "mpeg4", "-c:a", "libmp3lame"}},
    {"FragmentedMp4", "mp4", fragmented},
    {"FragmentedMp4OfDefaultBases", "mp4", plus(h264Aac, {"-movflags", "frag_keyframe+empty_moov+default_base_moof"})},
    {"FragmentedMp4APictureEach", "mp4", plus(h264Aac, {"-an", "-movflags", "frag_every_frame+empty_moov"})},
    {"FragmentedMp4AFrameEach", "mp4", plus(h264Aac, {"-movflags", "frag_every_frame+empty_moov"})},
    {"FragmentedMp4ATrackEach", "mp4", plus(h264Aac, {"-movflags", "frag_every_frame+empty_moov+separate_moof"})},
    {"FragmentedMp4OfReorderedPictures",
     "mp4",
     {"-c:v", "libx264", "-preset", "veryfast", "-bf", "2", "-c:a", "aac", "-movflags", "frag_every_frame+empty_moov"}},
    {"FragmentedMovPcm", "mov", {"-c:v", "mjpeg", "-c:a", "pcm_s16le", "-movflags", "frag_every_frame+empty_moov"}},
    {"FragmentedMp4Dash", "mp4", plus(h264Aac, {"-movflags", "dash+frag_keyframe+empty_moov+global_sidx"})},
    {"FragmentedMp4OfDelayedIndex", "mp4", plus(h264Aac, {"-movflags", "delay_moov+frag_keyframe"})},
    {"Mov", "mov", h264Aac},
    {"MovPcm", "mov", {"-c:v", "mjpeg", "-c:a", "pcm_s24le"}},
    {"MovWithTimecode", "mov", plus(h264Aac, {"-timecode", "01:00:00:00"})},
    {"M4a", "m4a", {"-vn", "-c:a", "aac"}},
    {"TransportStream", "ts", h264Aac},
    {"TransportStreamOfBluRay", "m2ts", plus(h264Aac, {"-mpegts_m2ts_mode", "1"})},
    {"TransportStreamOfConstantRate", "ts", plus(h264Aac, {"-muxrate", "6M"})},
    {"TransportStreamMpeg2Ac3", "ts", {"-c:v", "mpeg2video", "-c:a", "ac3"}},
    {"TransportStreamOpus", "ts", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "libopus"}},
    {"Wav", "wav", {"-vn", "-c:a", "pcm_s16le"}},
    {"WavWithTexts", "wav", {"-vn", "-c:a", "pcm_s24le", "-write_bext", "1", "-metadata", "title=talk"}},
    {"WavOfBytes", "wav", {"-vn", "-c:a", "pcm_u8", "-ac", "1", "-ar", "11025", "-t", "1.0001"}},
    {"WavAdpcm", "wav", {"-vn", "-c:a", "adpcm_ms"}},
    {"WavMp3", "wav", {"-vn", "-c:a", "libmp3lame"}},
    {"Rf64", "wav", {"-vn", "-c:a", "pcm_s16le", "-rf64", "always"}},
    {"Wave64", "w64", {"-vn", "-c:a", "pcm_s16le"}},
    {"Aiff", "aiff", {"-vn", "-c:a", "pcm_s24be", "-ac", "2"}},
    {"Caf", "caf", {"-vn", "-c:a", "pcm_s16le"}},
    {"CafAlac", "caf", {"-vn", "-c:a", "alac"}},
    {"Au", "au", {"-vn", "-c:a", "pcm_s16be"}},
    {"Flv", "flv", h264Aac},
    {"FlvWithIndex", "flv", plus(h264Aac, {"-flvflags", "add_keyframe_index"})},
    {"FlvSorensonMp3", "flv", {"-c:v", "flv", "-c:a", "libmp3lame", "-ar", "44100"}},
    {"Avi", "avi", {"-c:v", "mpeg4", "-c:a", "libmp3lame"}},
    {"AviPcm", "avi", {"-c:v", "mjpeg", "-c:a", "pcm_s16le"}},
    {"AviOpenDml", "avi", {"-c:v", "mpeg4", "-c:a", "ac3", "-reserve_index_space", "4096"}},
    {"ProgramStream", "mpg", {"-c:v", "mpeg2video", "-c:a", "ac3"}},
    {"VideoCd", "mpg", {"-c:v", "mpeg1video", "-an", "-f", "vcd"}},
    {"Dvd", "mpg", {"-c:v", "mpeg2video", "-c:a", "ac3", "-f", "dvd"}},
    {"OggTheora", "ogv", {"-c:v", "libtheora", "-c:a", "libvorbis"}},
    {"OggOpus", "opus", {"-vn", "-c:a", "libopus"}},
    {"OggFlac", "ogg", {"-vn", "-c:a", "flac"}},
    {"Mp3", "mp3", {"-vn", "-c:a", "libmp3lame", "-id3v2_version", "3", "-write_id3v1", "1", "-metadata", "title=a"}},
    {"Mp3WithApe", "mp3", {"-vn", "-c:a", "libmp3lame", "-q:a", "4", "-write_apetag", "1", "-metadata", "title=a"}},
    {"Mp3Alone", "mp3", {"-vn", "-c:a", "libmp3lame", "-write_xing", "0", "-id3v2_version", "0"}},
    {"Adts", "aac", {"-vn", "-c:a", "aac"}},
    {"Ac3", "ac3", {"-vn", "-c:a", "ac3"}},
    {"Eac3", "eac3", {"-vn", "-c:a", "eac3"}},
    {"Flac", "flac", {"-vn", "-c:a", "flac", "-metadata", "title=a"}},
    {"Dts", "dts", {"-vn", "-c:a", "dca", "-strict", "-2"}},
    {"RawH264", "h264", {"-an", "-c:v", "libx264", "-preset", "ultrafast"}},
    {"RawMpeg2", "m2v", {"-an", "-c:v", "mpeg2video"}},
    {"Ivf", "ivf", {"-an", "-c:v", "libvpx", "-deadline", "realtime"}},
    {"Mxf", "mxf", {"-c:v", "mpeg2video", "-c:a", "pcm_s16le"}},
    {"Asf", "asf", {"-c:v", "msmpeg4", "-c:a", "wmav2"}},
};

INSTANTIATE_TEST_SUITE_P(Containers, HealthyRecordingTest, testing::ValuesIn(healthy), nameOf);

/// Streams without a container, in which the library may take zeros for a packet.
class ZeroTailTest : public AccountingTest, public testing::WithParamInterface<Container> {};

TEST_P(ZeroTailTest, HoldsNothingAndAddsNothing) {
    const std::string whole = samples::make(GetParam().extension, GetParam().options, 1);
    expectSuccess(whole);
    const Words hashes = packetHashes(destination());
    std::filesystem::remove(destination());
    const std::string log = expectSuccess(put("talk.rec", contentOf(whole) + std::string(50'000, '\0')));
    EXPECT_NE(log.find("all zero"), std::string::npos) << log;
    EXPECT_EQ(packetHashes(destination()), hashes);
}

INSTANTIATE_TEST_SUITE_P(
    Streams, ZeroTailTest,
    testing::Values(Container{"Mp3", "mp3", {"-vn", "-c:a", "libmp3lame"}},
                    Container{"Mp2", "mp2", {"-vn", "-c:a", "mp2"}}, Container{"Ac3", "ac3", {"-vn", "-c:a", "ac3"}},
                    Container{"RawH264", "h264", {"-an", "-c:v", "libx264", "-preset", "ultrafast"}},
                    Container{"RawMpeg2", "m2v", {"-an", "-c:v", "mpeg2video"}}),
    nameOf);

const Words mpeg2Ac3 = {"-c:v", "mpeg2video", "-c:a", "ac3"};

TEST_F(AccountingTest, JoinedProgramStreamsAreConvertedWhole) {
    const std::string one = samples::make("mpg", mpeg2Ac3);
    const std::string both = put("talk.mpg", contentOf(one) + contentOf(one));
    expectSuccess(both);
    std::vector<int> counts = packetCounts(one);
    std::transform(counts.begin(), counts.end(), counts.begin(), [](int count) { return 2 * count; });
    EXPECT_EQ(packetCounts(destination()), counts);
}

TEST_F(AccountingTest, AnAppendedProgramStreamOfOtherStreamsIsNoticed) {
    const std::string first = contentOf(samples::make("mpg", mpeg2Ac3));
    for (const Words& other :
         {Words{"-c:v", "mpeg2video", "-c:a", "mp2"}, Words{"-c:v", "libx264", "-c:a", "ac3"},
          Words{"-c:v", "mpeg2video", "-c:a", "dca", "-strict", "-2", "-ac", "2"}, plus(mpeg2Ac3, {"-s", "176x144"})}) {
        expectDamaged(first + contentOf(samples::make("mpg", other)));
    }
}

TEST_F(AccountingTest, APictureThatTheDecoderPatchesUpIsNoticed) {
    const std::string source = samples::make("flv", {"-an", "-c:v", "flv"});
    std::string bytes = contentOf(source);
    const auto packets = probe(source, "packet=pos,size");
    ASSERT_GT(packets.size(), 30U);
    const std::string& packet = packets[30];
    const auto middle = std::stoul(packet.substr(packet.find(',') + 1)) + std::stoul(packet) / 2;
    bytes.replace(middle, 40, noise(40));
    EXPECT_NE(expectDamaged(bytes).find("made up in part"), std::string::npos);
}

TEST_F(AccountingTest, NoiseAfterFloatsIsConverted) {
    for (const char* const codec : {"pcm_f32le", "pcm_f64le"}) {
        expectDamaged(contentOf(samples::make("wav", {"-vn", "-c:a", codec})) + noise(5000));
    }
}

TEST_F(AccountingTest, AProgramStreamThatPausesIsWhole) {
    Words words = {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=20",
                   "-f", "lavfi", "-i", "sine=sample_rate=48000:duration=20"};
    words.insert(words.end(), mpeg2Ac3.begin(), mpeg2Ac3.end());
    // The first packet after the pause continues a frame.
    const std::string source = ffmpeg(plus(words, {"-bsf:v", "noise=drop=between(n\\,50\\,425)", "-bsf:a",
                                                   "noise=drop=between(n\\,70\\,550)", "paused.mpg"}));
    expectSuccess(source);
    EXPECT_EQ(packetCounts(destination()), packetCounts(source));
}

TEST_F(AccountingTest, OtherPicturesAfterAPauseOfAProgramStreamAreNoticed) {
    const std::string first = contentOf(samples::make("mpg", mpeg2Ac3));
    const std::string other = samples::make("mpg", plus(mpeg2Ac3, {"-s", "176x144"}));
    expectDamaged(first + contentOf(ffmpeg({"-i", other, "-c", "copy", "-output_ts_offset", "30", "later.mpg"})));
}

TEST_F(AccountingTest, WholeFramesOfFlacThatAreMissingAreNoticed) {
    const std::string source = samples::make("flac", {"-vn", "-c:a", "flac"}, 1);
    const std::string bytes = contentOf(source);
    std::vector<std::size_t> starts;
    for (const std::string& line : probe(source, "packet=pos")) {
        starts.push_back(std::stoul(line));
    }
    ASSERT_GT(starts.size(), 6U);
    const std::string inTheMiddle = std::string(bytes).erase(starts[3], starts[5] - starts[3]);
    EXPECT_NE(expectDamaged(inTheMiddle).find("numbers jump"), std::string::npos);
    EXPECT_NE(expectDamaged(bytes.substr(0, starts.back())).find("the header says"), std::string::npos);
}

TEST_F(AccountingTest, FlacThatSomebodyElseHasCutAtTheStartIsWhole) {
    const std::string source = samples::make("flac", {"-vn", "-c:a", "flac"}, 1);
    expectWhole(contentOf(ffmpeg({"-ss", "0.5", "-i", source, "-c", "copy", "later.flac"})));
}

TEST_F(AccountingTest, AFormatThatDoesNotTellKeepsTheSecondName) {
    const std::string log = expectDamaged(contentOf(samples::make("nut", h264Aac, 1)));
    EXPECT_NE(log.find("does not show whether all"), std::string::npos) << log;
}

/// Containers that a killed recorder leaves readable.
class KilledRecorderTest : public AccountingTest, public testing::WithParamInterface<Container> {};

TEST_P(KilledRecorderTest, LeavesNoDamageButALastPacketThatIsSaidToBeCut) {
    const std::string bytes = contentOf(samples::make(GetParam().extension, GetParam().options));
    int said = 0;
    for (const double place : {0.3, 0.51, 0.77, 0.93, 0.97}) {
        SCOPED_TRACE(place);
        const std::string log =
            expectWhole(bytes.substr(0, static_cast<std::size_t>(place * static_cast<double>(bytes.size()))));
        said += log.find("ends in the middle") != std::string::npos ||
                log.find("were to follow") != std::string::npos || log.find("was cut off after") != std::string::npos;
    }
    EXPECT_GE(said, 4);
}

const std::vector<Container> cuttable = {{"Matroska", "mkv", h264Aac},
                                         {"MatroskaLive", "mkv", plus(h264Aac, {"-live", "1"})},
                                         {"FragmentedMp4", "mp4", fragmented},
                                         {"TransportStream", "ts", h264Aac},
                                         {"Flv", "flv", h264Aac},
                                         {"Avi", "avi", {"-c:v", "mpeg4", "-c:a", "libmp3lame"}},
                                         {"OggTheora", "ogv", {"-c:v", "libtheora", "-c:a", "libvorbis"}},
                                         {"Adts", "aac", {"-vn", "-c:a", "aac"}}};

INSTANTIATE_TEST_SUITE_P(Containers, KilledRecorderTest, testing::ValuesIn(cuttable), nameOf);

TEST_F(AccountingTest, AnMp4WhoseEndIsMissingIsDamagedThoughItsIndexIsThere) {
    for (const double seconds : {1.0, 20.0}) {
        std::string bytes = contentOf(samples::make("mp4", plus(h264Aac, {"-movflags", "+faststart"}), seconds));
        bytes.resize(bytes.size() - 2000);
        expectDamaged(bytes);
    }
}

}  // namespace
