#pragma once

#include "mediaconverter/IZedMediaConverterSink.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace mediatest {

/// Records what a media converter reports.
class RecordingSink final : public zed::IZedMediaConverterSink {
public:
    void OnConvertProgress(float progress) override;
    void OnConvertError(int error) override;

    std::vector<float> progress() const;
    std::vector<int> errors() const;
    std::vector<std::thread::id> threads() const;

    /// Number of callbacks so far, of both kinds.
    std::size_t count() const;

    /// True for exactly one 100 and no error.
    bool isSuccess() const;

    /// The error if there was exactly one, and no 100.
    std::optional<int> onlyError() const;

    /// Waits until there were this many callbacks; false after 20 seconds.
    bool waitForCount(std::size_t count);

    /// Called in every callback, after it was recorded.
    std::function<void()> inCallback;

private:
    void recorded();

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<float> progress_;
    std::vector<int> errors_;
    std::vector<std::thread::id> threads_;
};

}  // namespace mediatest
