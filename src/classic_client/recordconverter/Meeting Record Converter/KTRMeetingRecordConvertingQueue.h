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

/// Hears how the items go. The start and ran-out-of-jobs come on the loop's background thread, the rest on whatever
/// thread the media converter calls back from. Every report carries the item that was appended.
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

/// A second queue of record items: a polling loop in the background that converts them one at a time through one
/// converter. Held by a shared pointer. Nothing in the application makes one: the job runner does the work. Items that
/// complete lose their intermediate file always.
class KTRMeetingRecordConvertingQueue final : public KTRMeetingRecordConverterDelegate,
                                              public std::enable_shared_from_this<KTRMeetingRecordConvertingQueue> {
public:
    /// Both outlive the queue.
    KTRMeetingRecordConvertingQueue(platform::BackgroundExecutor& executor, platform::FileManager& fileManager);
    ~KTRMeetingRecordConvertingQueue() override;

    std::shared_ptr<KTRMeetingRecordConvertingQueueDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRMeetingRecordConvertingQueueDelegate>& delegate) { delegate_ = delegate; }

    /// Made on the first read and the same for every item.
    KTRMeetingRecordConverter& converter();

    /// Any thread.
    void appendRecordItem(std::shared_ptr<KTRMeetingRecordItem> item);
    void pushBack(std::shared_ptr<KTRMeetingRecordItem> item);
    /// Null when nothing waits. Takes every entry of the item it gives.
    std::shared_ptr<KTRMeetingRecordItem> popFront();
    /// Any thread; does not wait for who is pushing or popping.
    bool isQueueEmpty() const { return waitingCount_ == 0; }

    /// Expects items and starts a loop in the background, one a call.
    void run();
    /// Expects no more: the loop ends once nothing waits and no item is under way. Any thread.
    void halt();
    /// Expects items again. Starts no loop: after the loop has ended, only `run` converts again. Any thread.
    void revive();

    /// The loop. Returns when it has run out of jobs.
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
