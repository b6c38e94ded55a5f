#include "mediaconverter/LanesTest.h"
#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/worker/Conversion.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace mediatest {

namespace {

/// A pipe would fill up; a file does not.
class Messages {
public:
    Messages() : descriptor_(::memfd_create("messages", MFD_CLOEXEC)) {}
    ~Messages() { ::close(descriptor_); }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    int descriptor() const { return descriptor_; }

    std::vector<std::string> notes() const {
        std::vector<std::string> notes;
        mediaconverter::WorkerMessage message;
        constexpr auto size = static_cast<ssize_t>(sizeof message);
        for (off_t at = 0; ::pread(descriptor_, &message, sizeof message, at) == size; at += size) {
            if (message.kind == mediaconverter::WorkerMessage::Kind::note) {
                notes.emplace_back(message.text.data());
            }
        }
        return notes;
    }

private:
    int descriptor_;
};

}  // namespace

Conversion convertHere(const std::string& source, bool copiesPackets) {
    const TemporaryFolder folder;
    const std::string path = folder.file("out.mp4");
    const int input = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    const int output = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    const Messages messages;
    worker::Reporter reporter(messages.descriptor());
    worker::Foreknowledge known;
    known.copiesPackets = copiesPackets;
    worker::convertRecording(input, output, reporter, known);
    ::close(input);
    ::close(output);
    Conversion result{contentOf(path), false, messages.notes()};
    // The only boxes with a size of 64 bits in a small file.
    result.isShared = result.mp4.find(std::string("\0\0\0\1mdat", 8)) != std::string::npos;
    return result;
}

std::string descriptionOf(const std::string& mp4) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a.mp4");
    writeFile(path, mp4);
    Words lines = linesOf(
        outputOf({"ffprobe", "-v", "error", "-of", "compact", "-show_data_hash", "sha256", "-show_entries",
                  "format=nb_streams,format_name,start_time,duration:format_tags:stream:stream_tags:stream_disposition:"
                  "stream_side_data:chapter:chapter_tags:packet=stream_index,pts,dts,duration,size,flags,data_hash",
                  path}));
    // Packets of different tracks may come in another order.
    const auto kindOf = [](const std::string& line) { return line.substr(0, line.find('|', line.find('|') + 1)); };
    std::ranges::stable_sort(lines, {}, kindOf);
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

void expectSameInBothLanes(const std::string& source) {
    const Conversion shared = convertHere(source, false);
    for (const std::string& note : shared.notes) {
        EXPECT_EQ(note.find("copied one by one"), std::string::npos) << note;
    }
    ASSERT_TRUE(shared.isShared);
    EXPECT_NE(shared.mp4.find(contentOf(source).substr(0, 64)), std::string::npos) << "the recording is not in it";
    const Conversion copied = convertHere(source, true);
    ASSERT_FALSE(copied.isShared);
    EXPECT_EQ(descriptionOf(shared.mp4), descriptionOf(copied.mp4));
}

}  // namespace mediatest
