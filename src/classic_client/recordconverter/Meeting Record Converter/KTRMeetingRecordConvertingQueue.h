#pragma once

#include "KTRMeetingRecordConverter.h"

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>

namespace platform {
class BackgroundExecutor;
class FileManager;
}  // namespace platform

class KTRMeetingRecordConvertingQueue;

/// Receives the events of the items. The start and ran-out-of-jobs come on the loop's background thread, the rest on
/// whatever thread the media converter calls back from. Every report carries the item that was appended.
class KTRMeetingRecordConvertingQueueDelegate {
public:
    virtual ~KTRMeetingRecordConvertingQueueDelegate() = default;

    virtual void
    recordConvertingQueueDidStartConvertingRecordItem(KTRMeetingRecordConvertingQueue&,
                                                      const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    /// Percent.
    virtual void recordConvertingQueueUpdatesConvertingProgressForRecordItem(
        KTRMeetingRecordConvertingQueue&, double /*progress*/, const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    virtual void
    recordConvertingQueueDidStopConvertingRecordItem(KTRMeetingRecordConvertingQueue&,
                                                     const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    virtual void
    recordConvertingQueueHitsConvertingErrorForRecordItem(KTRMeetingRecordConvertingQueue&, int /*error*/,
                                                          const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    /// The loop has ended.
    virtual void recordConvertingQueueDidRunOutOfJobs(KTRMeetingRecordConvertingQueue&) {}
};

/// Another queue of record items: a polling loop in the background that converts them one at a time with one converter.
/// Held by a shared pointer. Nothing in the application uses it; the job runner does the work. The intermediate files
/// of completed items are always removed.
class KTRMeetingRecordConvertingQueue final : public KTRMeetingRecordConverterDelegate,
                                              public std::enable_shared_from_this<KTRMeetingRecordConvertingQueue> {
public:
    /// Both outlive the queue.
    KTRMeetingRecordConvertingQueue(platform::BackgroundExecutor& executor, platform::FileManager& fileManager);
    ~KTRMeetingRecordConvertingQueue() override;

    std::shared_ptr<KTRMeetingRecordConvertingQueueDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRMeetingRecordConvertingQueueDelegate>& delegate) { delegate_ = delegate; }

    /// Created on the first call; the same for every item.
    KTRMeetingRecordConverter& converter();

    /// Any thread.
    void appendRecordItem(std::shared_ptr<KTRMeetingRecordItem> item);
    void pushBack(std::shared_ptr<KTRMeetingRecordItem> item);
    /// Null if nothing waits. Removes every entry of the returned item.
    std::shared_ptr<KTRMeetingRecordItem> popFront();
    /// Any thread; never blocks on a push or pop in progress.
    bool isQueueEmpty() const { return waitingCount_ == 0; }

    /// Expects items and starts a background loop; each call starts another loop.
    void run();
    /// Expects no more items: the loop ends once none waits or is being converted. Any thread.
    void halt();
    /// Expects items again but starts no loop: once the loop has ended, only `run` converts again. Any thread.
    void revive();

    /// The loop. Returns once it has run out of jobs.
    void processConvertingBuffer();
    void convertItem(const std::shared_ptr<KTRMeetingRecordItem>& item);

    bool expectsMore() const { return expectsMore_; }
    void setExpectsMore(bool expectsMore) { expectsMore_ = expectsMore; }
    /// True from a start report until the stop or error report.
    bool hasJobRunning() const { return hasJobRunning_; }
    void setHasJobRunning(bool hasJobRunning) { hasJobRunning_ = hasJobRunning; }

    void meetingRecordConverterDidStartConvertingRecordItem(KTRMeetingRecordConverter& converter,
                                                            const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    void meetingRecordConverterUpdatesConvertingProgressForRecordItem(
        KTRMeetingRecordConverter& converter, double progress,
        const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    void meetingRecordConverterDidStopConvertingRecordItem(KTRMeetingRecordConverter& converter,
                                                           const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    void
    meetingRecordConverterHitsConvertingErrorForRecordItem(KTRMeetingRecordConverter& converter, int error,
                                                           const std::shared_ptr<KTRMeetingRecordItem>& item) override;

private:
    platform::BackgroundExecutor& executor_;
    platform::FileManager& fileManager_;
    std::weak_ptr<KTRMeetingRecordConvertingQueueDelegate> delegate_;
    std::recursive_mutex monitor_;
    std::deque<std::shared_ptr<KTRMeetingRecordItem>> queue_;
    std::atomic<std::size_t> waitingCount_ = 0;
    std::atomic<bool> expectsMore_ = false;
    std::atomic<bool> hasJobRunning_ = false;
    std::unique_ptr<KTRMeetingRecordConverter> converter_;
};
