#include "tools/convert-recording/LeftoverConversion.h"

#include "KTRMeetingRecordItem.h"
#include "mediaconverter/ConversionError.h"
#include "mediaconverter/IZedMediaConverter.h"
#include "mediaconverter/IZedMediaConverterDestination.h"
#include "mediaconverter/job/Mp4Boxes.h"
#include "mediaconverter/job/UniqueDescriptor.h"
#include "mediaconverter/job/Writers.h"
#include "mediaconverter/providers/ConvertedFileManager.h"
#include "tools/convert-recording/StandardErrorCapture.h"

#include <algorithm>
#include <condition_variable>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <sys/stat.h>

namespace {

// Our media converter works on the calling thread; another implementation may not.
class Sink final : public zed::IZedMediaConverterSink {
public:
    explicit Sink(const LeftoverConversion::Progress& progress) : progress_(progress) {}

    void OnConvertProgress(float progress) override {
        progress_(progress);
        if (progress >= 100.0F) {
            end(0);
        }
    }

    void OnConvertError(int error) override { end(error); }

    // The error code, or 0 if the MP4 is complete.
    int waitForEnd() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return ended_; });
        return error_;
    }

private:
    void end(int error) {
        const std::scoped_lock lock(mutex_);
        if (!ended_) {
            ended_ = true;
            error_ = error;
            changed_.notify_all();
        }
    }

    const LeftoverConversion::Progress& progress_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool ended_ = false;
    int error_ = 0;
};

std::string sentenceOf(int error) {
    return mediaconverter::isConversionError(error)
               ? mediaconverter::sentence(static_cast<mediaconverter::ConversionError>(error))
               : "the conversion failed";
}

/// The file, if it is a regular one that may be read.
mediaconverter::UniqueDescriptor openedFile(const std::string& path) {
    struct stat file {};
    const bool isFile = ::stat(path.c_str(), &file) == 0 && S_ISREG(file.st_mode);
    return mediaconverter::UniqueDescriptor(isFile ? ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC) : -1);
}

/// The process that writes the file, or a general text for a process that cannot be named; empty if none does.
std::string writerOf(int file) {
    struct stat status {};
    if (!mediaconverter::isOpenForWriting(file) || ::fstat(file, &status) != 0) {
        return {};
    }
    const auto writers = mediaconverter::writersOf(status);
    return writers.empty() ? "another user's process" : "process " + std::to_string(writers.front().process);
}

/// By name and content: "talk.mp4.tmp" becomes talk.mp4 even if only its name has to change.
bool isMp4Already(const std::string& path, int file) {
    std::string extension = std::filesystem::path(path).extension();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    const bool hasName = extension == ".mp4" || extension == ".m4v" || extension == ".m4a";
    return hasName && mediaconverter::isFlatMp4(file);
}

/// Before it reports an error, the media converter writes it to standard error with more detail than a code can carry.
/// That line becomes the outcome's text; the other lines are its notes.
void sort(const std::vector<std::string>& lines, Outcome& outcome) {
    const std::string mark = ": error " + std::to_string(outcome.error) + ": ";
    for (const std::string& line : lines) {
        const auto at = line.rfind(mark);
        if (outcome.error != 0 && at != std::string::npos) {
            outcome.text = line.substr(at + mark.size());
        } else {
            outcome.notes.push_back(line);
        }
    }
}

}  // namespace

Outcome LeftoverConversion::convert(const std::string& path) const {
    Outcome outcome;
    outcome.source = std::filesystem::absolute(path).lexically_normal().native();
    if (const auto file = openedFile(outcome.source)) {
        const std::string writer = options_.force ? "" : writerOf(file.get());
        if (!writer.empty()) {
            outcome.kind = Outcome::Kind::stillWritten;
            outcome.text = writer + " is still writing it; wait for it, or convert it anyway with --force";
            return outcome;
        }
        if (isMp4Already(outcome.source, file.get())) {
            outcome.kind = Outcome::Kind::alreadyMp4;
            outcome.text = "it is an MP4 already and was left alone";
            return outcome;
        }
    }

    mediaconverter::ConvertedFileManager fileManager;
    const KTRMeetingRecordItem item(0, outcome.source, fileManager);
    Sink sink(progress_);
    zed::IZedMediaConverter* converter = nullptr;
    CreateMediaConverter(&converter, &sink);
    if (converter == nullptr) {
        outcome.text = "the media converter could not be created; install it again";
        return outcome;
    }
    StandardErrorCapture capture;
    converter->Convert(item.srcPath().c_str(), item.dstPath().c_str(), zed::audioAndVideo, zed::mp4Container);
    outcome.error = sink.waitForEnd();
    if (outcome.error == 0) {
        outcome.kind = Outcome::Kind::converted;
        outcome.destination = FittingDestination(item.dstPath());
        if (!options_.keep) {
            outcome.text = fileManager.removeItemAtPath(outcome.source).value_or("");
        }
    } else {
        outcome.text = sentenceOf(outcome.error);
    }
    // Only now: until then the media converter remembers which file it has converted.
    converter->Release();
    sort(capture.lines(), outcome);
    return outcome;
}
