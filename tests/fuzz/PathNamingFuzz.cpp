// Whatever the source's name and its folder's content, the destination ends in .mp4, is in the source's folder and
// names nothing that exists.
#include "Input.h"
#include "KTRMeetingRecordItem.h"
#include "platform/FileManager.h"
#include "platform/PathOperations.h"

#include <string>
#include <vector>

namespace {

/// Reports the first names that it is asked for as taken.
class CrowdedFolder final : public platform::FileManager {
public:
    explicit CrowdedFolder(std::size_t takenCount) : takenCount_(takenCount) {}

    bool fileExistsAtPath(const std::string& path, bool*) const override {
        asked.push_back(path);
        return asked.size() <= takenCount_;
    }
    std::optional<std::string> removeItemAtPath(const std::string&) override { return std::nullopt; }

    mutable std::vector<std::string> asked;

private:
    const std::size_t takenCount_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const CrowdedFolder folder(input.byte());
    std::string source = input.byte() % 8 == 0 ? "" : "/";
    while (!input.isEmpty()) {
        const char* const pieces[] = {"/", ".", ".mp4", "mp4", ".tmp", "(1)", "rec"};
        const auto choice = input.byte() % 8U;
        source += choice < 7 ? pieces[choice] : input.cText();
    }
    const KTRMeetingRecordItem item(1, source, folder);
    const auto& destination = item.dstPath();

    fuzz::require(item.srcPath() == source, "the source is kept as given");
    fuzz::require(destination.ends_with(".mp4"), "the destination ends in .mp4");
    fuzz::require(folder.asked.back() == destination, "the destination was looked for last and found free");
    for (std::size_t i = 0; i + 1 < folder.asked.size(); ++i) {
        fuzz::require(folder.asked[i] != destination, "the destination was not taken");
    }
    const std::string itsFolder(platform::deletingLastPathComponent(source));
    fuzz::require(destination.starts_with(itsFolder + '/'), "the destination lies in the source's folder");
    const auto name = destination.substr(itsFolder.size() + 1);
    // A source that names no file at all ("/") has no name either; then the result is only the folder.
    if (platform::lastPathComponent(source) != "/") {
        fuzz::require(name.find('/') == std::string::npos, "and not below it");
    }

    const auto last = platform::lastPathComponent(source);
    fuzz::require(platform::pathExtension(source) == platform::pathExtension(last), "the name holds the extension");
    fuzz::require(platform::deletingPathExtension(source).size() <= source.size(), "taking away makes nothing longer");
    return 0;
}
