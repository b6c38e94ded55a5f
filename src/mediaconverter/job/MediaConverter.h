#pragma once

#include "mediaconverter/ConversionError.h"
#include "mediaconverter/IZedMediaConverter.h"
#include "mediaconverter/job/ConvertedSource.h"
#include "mediaconverter/job/JobOwner.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace mediaconverter {

/// The media converter that ships. Converts on the calling thread, one job at a time; every callback of a job comes
/// from that thread, before Convert returns. Costs nothing while idle.
class MediaConverter final : public zed::IZedMediaConverter, private JobOwner {
public:
    explicit MediaConverter(zed::IZedMediaConverterSink& sink);
    ~MediaConverter() override;

    /// A job on another thread is abandoned: its worker is killed, it reports `abandoned`, and this waits for it. A job
    /// past the point where its MP4 gets its name reports its 100 instead. When called from a callback, no more
    /// callbacks come.
    void Release() override;

    /// 0 on success, else the ConversionError that was reported.
    int Convert(const char* source, const char* destination, int tracks, int container) override;

    int Reserved1() override { return 0; }
    int Reserved2() override { return 0; }
    int Reserved3() override { return 0; }
    int Reserved5() override { return 0; }
    int Reserved6() override { return 0; }
    int Reserved7() override { return 0; }

private:
    void jobProgress(float percent) override;
    int abandonDescriptor() const override { return abandonEvent_; }
    bool isAbandoned() const override { return abandoned_.load(); }

    int runJob(const char* source, const char* destination, int tracks, int container);
    int report(const char* source, ConversionError error, const std::string& detail);

    zed::IZedMediaConverterSink& sink_;
    ConvertedSource converted_;
    std::mutex mutex_;
    std::condition_variable ended_;
    std::thread::id converting_;
    std::atomic<bool> abandoned_{false};
    bool releasedByCallback_ = false;
    float lastPercent_ = -1;
    int abandonEvent_ = -1;
};

}  // namespace mediaconverter
