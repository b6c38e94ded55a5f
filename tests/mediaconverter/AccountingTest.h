#pragma once

#include "mediaconverter/FaultTest.h"

#include <algorithm>
#include <ostream>
#include <random>

namespace mediatest {

struct Container {
    const char* name;
    const char* extension;
    Words options;
};

inline std::ostream& operator<<(std::ostream& out, const Container& container) {
    return out << container.name;
}

inline std::string nameOf(const testing::TestParamInfo<Container>& info) {
    return info.param.name;
}

inline const Words h264Aac = {"-c:v", "libx264", "-preset", "ultrafast", "-g", "25", "-c:a", "aac"};
inline const Words fragmented = plus(h264Aac, {"-movflags", "frag_keyframe+empty_moov"});

/// Converts recordings of which every byte must be accounted for.
class AccountingTest : public FaultTest {
protected:
    static std::string noise(std::size_t length) {
        std::mt19937 random(7);
        std::string bytes(length, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
        return bytes;
    }

    /// Converts the bytes and expects a second name for them. Returns the log.
    static std::string expectDamaged(const std::string& bytes) {
        return expectNames(bytes, {"out.mp4", "talk (damaged).rec", "talk.rec"});
    }

    /// Converts the bytes and expects no second name. Returns the log.
    static std::string expectWhole(const std::string& bytes) { return expectNames(bytes, {"out.mp4", "talk.rec"}); }

private:
    static std::string expectNames(const std::string& bytes, const Words& names) {
        const TemporaryFolder folder;
        writeFile(folder.file("talk.rec"), bytes);
        RecordingSink sink;
        testing::internal::CaptureStderr();
        convert(folder.file("talk.rec"), folder.file("out.mp4"), sink);
        std::string log = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(sink.isSuccess()) << log;
        EXPECT_EQ(folder.names(), names) << log;
        return log;
    }
};

}  // namespace mediatest
