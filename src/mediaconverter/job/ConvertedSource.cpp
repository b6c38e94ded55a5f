#include "mediaconverter/job/ConvertedSource.h"

#include "mediaconverter/IZedMediaConverterRemoval.h"
#include "mediaconverter/job/SourceRemoval.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <utility>

namespace mediaconverter {

namespace {

/// All living objects, in an intrusive list: nothing is allocated where a failure could not be reported, and nothing is
/// destroyed before the last converter. Removing a recording holds the lock, so that nothing is forgotten meanwhile.
constinit std::mutex mutex;
constinit ConvertedSource* first = nullptr;

}  // namespace

ConvertedSource::ConvertedSource() {
    const std::lock_guard lock(mutex);
    next_ = std::exchange(first, this);
}

ConvertedSource::~ConvertedSource() {
    const std::lock_guard lock(mutex);
    ConvertedSource** place = &first;
    while (*place != this) {
        place = &(*place)->next_;
    }
    *place = next_;
}

void ConvertedSource::remember(SourceFile&& source) noexcept {
    const std::lock_guard lock(mutex);
    source_.emplace(std::move(source));
}

void ConvertedSource::forget() noexcept {
    const std::lock_guard lock(mutex);
    source_.reset();
}

std::optional<std::string> ConvertedSource::remove(const std::string& path) {
    const std::lock_guard lock(mutex);
    for (ConvertedSource* one = first; one != nullptr; one = one->next_) {
        if (one->source_ && one->source_->path() == path) {
            auto reason = removeSource(*one->source_);
            if (!reason) {
                one->source_.reset();
            }
            return reason;
        }
    }
    return "no media converter has converted it";
}

}  // namespace mediaconverter

int RemoveConvertedSource(const char* path, char* reason, std::size_t size) {
    std::string text = "no path was given";
    try {
        if (path != nullptr) {
            const auto refusal = mediaconverter::ConvertedSource::remove(path);
            if (!refusal) {
                return 0;
            }
            text = *refusal;
        }
    } catch (const std::exception& failure) {
        text = failure.what();
    }
    if (reason != nullptr && size > 0) {
        const std::size_t length = std::min(text.size(), size - 1);
        std::copy_n(text.begin(), length, reason);
        reason[length] = '\0';
    }
    return 1;
}
