#include "mediaconverter/FaultTest.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

namespace mediatest {

namespace {

/// The regular files of a folder and their contents.
std::map<std::string, std::string> contentsOf(const TemporaryFolder& folder) {
    std::map<std::string, std::string> contents;
    for (const std::string& name : folder.names()) {
        const std::string path = folder.file(name);
        std::error_code ignored;
        contents[name] = std::filesystem::is_regular_file(std::filesystem::symlink_status(path, ignored))
                             ? contentOf(path)
                             : std::string("(not a file)");
    }
    return contents;
}

}  // namespace

std::string FaultTest::put(const std::string& name, const std::string& content) {
    writeFile(folder_.file(name), content);
    return folder_.file(name);
}

std::string FaultTest::ffmpeg(Words arguments) {
    const std::string path = folder_.file(arguments.back());
    arguments.back() = path;
    Words command = {"ffmpeg", "-v", "error", "-y"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(runQuietly(command), 0);
    return path;
}

void FaultTest::expectError(const std::string& source, const std::string& target, ConversionError error) {
    const auto before = contentsOf(folder_);
    RecordingSink sink;
    testing::internal::CaptureStderr();
    convert(source, target, sink);
    const std::string log = testing::internal::GetCapturedStderr();
    ASSERT_TRUE(sink.onlyError().has_value()) << log;
    EXPECT_EQ(*sink.onlyError(), static_cast<int>(error)) << log;
    EXPECT_NE(log.find(mediaconverter::sentence(error)), std::string::npos) << log;
    EXPECT_EQ(contentsOf(folder_), before);
}

std::string FaultTest::expectSuccess(const std::string& source, const std::vector<std::string>& more) {
    auto names = folder_.names();
    const std::string before = contentOf(source);
    RecordingSink sink;
    testing::internal::CaptureStderr();
    convert(source, destination(), sink);
    std::string log = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(sink.isSuccess()) << log;
    names.push_back("out.mp4");
    names.insert(names.end(), more.begin(), more.end());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(folder_.names(), names) << log;
    EXPECT_TRUE(contentOf(source) == before) << "the source was changed";
    return log;
}

std::vector<int> FaultTest::packetCounts(const std::string& path) {
    std::vector<int> counts;
    std::string output;
    // ffprobe finds no packets in a file that it rejects altogether; ours may do better.
    runFor({"ffprobe", "-v", "quiet", "-show_entries", "packet=stream_index", "-of", "csv=p=0", path}, output);
    for (const std::string& line : linesOf(output)) {
        const auto stream = static_cast<std::size_t>(std::atoi(line.c_str()));
        counts.resize(std::max(counts.size(), stream + 1));
        ++counts[stream];
    }
    return counts;
}

bool ProcessResult::saidError(ConversionError error) const {
    return output.find("error " + std::to_string(static_cast<int>(error)) + "\n") != std::string::npos;
}

ProcessResult convertInProcess(const std::string& source, const std::string& destination,
                               const std::vector<std::string>& environment, const std::vector<std::string>& before) {
    std::vector<std::string> command = {"env"};
    command.insert(command.end(), environment.begin(), environment.end());
    command.insert(command.end(), before.begin(), before.end());
    command.insert(command.end(), {convertOne(), shippedLibrary(), source, destination});
    ProcessResult result;
    result.status = runFor(command, result.output);
    return result;
}

}  // namespace mediatest
