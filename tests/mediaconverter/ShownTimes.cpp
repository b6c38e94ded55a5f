#include "mediaconverter/ShownTimes.h"

#include "mediaconverter/Samples.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>

namespace mediatest {

namespace {

constexpr double unknown = -1e9;

std::vector<std::string> fieldsOf(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, ',');) {
        fields.push_back(field);
    }
    return fields;
}

bool isNumber(const std::string& field) {
    return !field.empty() && field != "N/A";
}

struct Packet {
    std::size_t stream;
    double start;
    double duration;
    bool isDiscarded;
};

std::vector<Packet> packetsOf(const std::string& path) {
    std::vector<Packet> packets;
    std::string output;
    runFor({"ffprobe", "-v", "quiet", "-show_entries", "packet=stream_index,pts_time,dts_time,duration_time,flags",
            "-of", "csv=p=0", path},
           output);
    for (const std::string& line : linesOf(output)) {
        const auto fields = fieldsOf(line);
        if (fields.size() < 5 || !(isNumber(fields[1]) || isNumber(fields[2]))) {
            continue;
        }
        packets.push_back({static_cast<std::size_t>(std::atoi(fields[0].c_str())),
                           std::atof(fields[isNumber(fields[1]) ? 1 : 2].c_str()),
                           isNumber(fields[3]) ? std::atof(fields[3].c_str()) : 0,
                           fields[4].find('D') != std::string::npos});
    }
    return packets;
}

}  // namespace

std::vector<Shown> shownOf(const std::string& path) {
    // A stream's own start says how much of its audio is skipped.
    std::vector<Shown> streams;
    std::vector<double> skippedUntil;
    std::vector<double> ends;
    for (const std::string& line : probe(path, "stream=codec_type,start_time,duration")) {
        const auto fields = fieldsOf(line);
        const bool isAudio = fields.at(0) == "audio";
        streams.push_back({std::numeric_limits<double>::max(), 0, 0, fields[0] == "subtitle", isAudio});
        const double start = fields.size() > 1 && isNumber(fields[1]) ? std::atof(fields[1].c_str()) : unknown;
        skippedUntil.push_back(isAudio ? start : unknown);
        ends.push_back(fields.size() > 2 && isNumber(fields[2]) ? start + std::atof(fields[2].c_str()) : unknown);
    }
    for (const Packet& packet : packetsOf(path)) {
        constexpr double rounding = 0.0015;
        const double skipped = skippedUntil.at(packet.stream);
        if (packet.isDiscarded || packet.start + packet.duration <= skipped - rounding ||
            (packet.duration > rounding && packet.start + packet.duration <= skipped + rounding)) {
            continue;
        }
        Shown& shown = streams.at(packet.stream);
        shown.first = std::min(shown.first, std::max(packet.start, skipped));
        // ffprobe does not report the duration of a last packet that is shorter than those before.
        const double end = packet.duration > 0 ? packet.start + packet.duration : ends[packet.stream];
        shown.end = std::max({shown.end, end, packet.start});
        ++shown.packets;
    }
    std::erase_if(streams, [](const Shown& shown) { return shown.packets == 0; });
    return streams;
}

void expectSameShown(const std::string& source, const std::string& result, bool copied, double frame) {
    const auto before = shownOf(source);
    const auto after = shownOf(result);
    ASSERT_EQ(after.size(), before.size());
    double origin = std::numeric_limits<double>::max();
    for (const Shown& shown : before) {
        origin = shown.isText ? origin : std::min(origin, shown.first);
    }
    for (std::size_t index = 0; index < before.size(); ++index) {
        EXPECT_NEAR(after[index].first, before[index].first - origin, frame) << "stream " << index << " begins";
        if (before[index].isText) {
            continue;
        }
        // The length of a last frame need not be known.
        EXPECT_NEAR(after[index].end, before[index].end - origin, frame + 0.041) << "stream " << index << " ends";
        if (copied || !before[index].isAudio) {
            EXPECT_EQ(after[index].packets, before[index].packets) << "stream " << index;
        }
    }
}

std::string ShownTimesTest::record(const Kind& kind, const Start& start) {
    const std::string name = std::string("recording.") + kind.extension;
    Words words = {"-f",   "lavfi", "-itsoffset", start.video, "-i", "testsrc2=size=64x48:rate=25:duration=2",
                   "-f",   "lavfi", "-itsoffset", start.audio, "-i", "sine=frequency=440:sample_rate=48000:duration=2",
                   "-map", "0:v",   "-map",       "1:a"};
    words.insert(words.end(), kind.video.begin(), kind.video.end());
    words.insert(words.end(), kind.audio.begin(), kind.audio.end());
    words.insert(words.end(), {"-fps_mode", "passthrough", "-output_ts_offset", start.offset, name});
    return ffmpeg(words);
}

void ShownTimesTest::expectShownAsRecorded(const std::string& source, bool copied) {
    std::filesystem::remove(destination());
    const std::string log = expectSuccess(source);
    expectSameShown(source, destination(), copied);
    if (HasFailure()) {
        ADD_FAILURE() << log;
    }
}

}  // namespace mediatest
