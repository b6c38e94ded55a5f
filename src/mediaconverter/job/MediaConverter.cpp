#include "mediaconverter/job/MediaConverter.h"

#include "mediaconverter/job/ConversionJob.h"
#include "mediaconverter/job/JobFailure.h"
#include "mediaconverter/job/JobLog.h"

#include <cerrno>
#include <exception>
#include <new>
#include <sys/eventfd.h>
#include <unistd.h>

namespace mediaconverter {

MediaConverter::MediaConverter(zed::IZedMediaConverterSink& sink) : sink_(sink) {}

MediaConverter::~MediaConverter() {
    if (abandonEvent_ >= 0) {
        ::close(abandonEvent_);
    }
}

void MediaConverter::Release() {
    {
        std::unique_lock lock(mutex_);
        abandoned_ = true;
        if (converting_ == std::this_thread::get_id()) {
            // Called from a callback: the object is still in use up the stack, and is destroyed when the job has ended.
            releasedByCallback_ = true;
            return;
        }
        if (abandonEvent_ >= 0) {
            static_cast<void>(!::eventfd_write(abandonEvent_, 1));
        }
        ended_.wait(lock, [this] { return converting_ == std::thread::id(); });
    }
    delete this;
}

int MediaConverter::Convert(const char* source, const char* destination, int tracks, int container) {
    {
        const std::lock_guard lock(mutex_);
        converting_ = std::this_thread::get_id();
        lastPercent_ = -1;
        if (abandonEvent_ < 0) {
            abandonEvent_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        }
    }
    const int result = runJob(source, destination, tracks, container);
    std::unique_lock lock(mutex_);
    converting_ = std::thread::id();
    const bool isLast = releasedByCallback_;
    // While holding the lock: a releasing thread deletes the object as soon as it gets the lock.
    ended_.notify_all();
    lock.unlock();
    if (isLast) {
        delete this;
    }
    return result;
}

int MediaConverter::runJob(const char* source, const char* destination, int tracks, int container) {
    converted_.forget();
    try {
        if (source == nullptr || destination == nullptr || *source == '\0' || *destination == '\0' ||
            tracks != zed::audioAndVideo || container != zed::mp4Container) {
            throw JobFailure(ConversionError::badRequest);
        }
        ConversionJob job(*this, source, destination);
        job.run();
        converted_.remember(job.releaseSource());
    } catch (const JobFailure& failure) {
        return report(source, failure.error, failure.detail);
    } catch (const std::bad_alloc&) {
        return report(source, ConversionError::outOfMemory, {});
    } catch (const std::exception& stray) {
        return report(source, ConversionError::workerNonsense, stray.what());
    }
    if (!releasedByCallback_) {
        sink_.OnConvertProgress(100.0F);
    }
    return 0;
}

void MediaConverter::jobProgress(float percent) {
    // Steps of a hundredth of a percent are of no use; the last of them are covered by the final 100.
    if (percent > lastPercent_ + 0.05F && percent < 100.0F && !releasedByCallback_) {
        lastPercent_ = percent;
        sink_.OnConvertProgress(percent);
    }
}

int MediaConverter::report(const char* source, ConversionError error, const std::string& detail) {
    try {
        logLine(std::string(source == nullptr ? "(no path)" : source) + ": error " +
                    std::to_string(static_cast<int>(error)) + ": " + sentence(error) +
                    (detail.empty() ? std::string() : " (" + detail + ")"),
                LOG_ERR);
    } catch (const std::exception&) {
        // No memory even for a line: the code must suffice.
    }
    if (!releasedByCallback_) {
        sink_.OnConvertError(static_cast<int>(error));
    }
    return static_cast<int>(error);
}

}  // namespace mediaconverter

int CreateMediaConverter(zed::IZedMediaConverter** converter, zed::IZedMediaConverterSink* sink) {
    if (converter == nullptr) {
        return EINVAL;
    }
    *converter = sink == nullptr ? nullptr : new (std::nothrow) mediaconverter::MediaConverter(*sink);
    return *converter == nullptr ? EINVAL : 0;
}
