#include "mediaconverter/RecordingSink.h"

#include <algorithm>
#include <chrono>

namespace mediatest {

void RecordingSink::OnConvertProgress(float progress) {
    {
        const std::lock_guard lock(mutex_);
        progress_.push_back(progress);
        threads_.push_back(std::this_thread::get_id());
    }
    recorded();
}

void RecordingSink::OnConvertError(int error) {
    {
        const std::lock_guard lock(mutex_);
        errors_.push_back(error);
        threads_.push_back(std::this_thread::get_id());
    }
    recorded();
}

void RecordingSink::recorded() {
    changed_.notify_all();
    if (inCallback) {
        inCallback();
    }
}

std::vector<float> RecordingSink::progress() const {
    const std::lock_guard lock(mutex_);
    return progress_;
}

std::vector<int> RecordingSink::errors() const {
    const std::lock_guard lock(mutex_);
    return errors_;
}

std::vector<std::thread::id> RecordingSink::threads() const {
    const std::lock_guard lock(mutex_);
    return threads_;
}

std::size_t RecordingSink::count() const {
    const std::lock_guard lock(mutex_);
    return threads_.size();
}

bool RecordingSink::isSuccess() const {
    const std::lock_guard lock(mutex_);
    return errors_.empty() && !progress_.empty() && progress_.back() == 100.0F &&
           std::count_if(progress_.begin(), progress_.end(), [](float value) { return !(value < 100.0F); }) == 1;
}

std::optional<int> RecordingSink::onlyError() const {
    const std::lock_guard lock(mutex_);
    const bool done = std::any_of(progress_.begin(), progress_.end(), [](float value) { return !(value < 100.0F); });
    return errors_.size() == 1 && !done ? std::optional(errors_.front()) : std::nullopt;
}

bool RecordingSink::waitForCount(std::size_t count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return threads_.size() >= count; });
}

}  // namespace mediatest
