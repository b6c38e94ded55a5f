#pragma once

#include <memory>

namespace platform {
class FileManager;
}

class KTRMeetingRecordConverter;
class KTRMeetingRecordItem;
class ZEDMediaConverterProxy;

/// Hears how a conversion goes. The start comes on the thread that asked for the conversion, the rest on whatever
/// thread the media converter calls back from. Every report carries the item that was given.
class KTRMeetingRecordConverterDelegate {
public:
    virtual ~KTRMeetingRecordConverterDelegate() = default;

    /// Before the media converter is asked to convert.
    virtual void
    meetingRecordConverterDidStartConvertingRecordItem(KTRMeetingRecordConverter&,
                                                       const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    /// Percent.
    virtual void meetingRecordConverterUpdatesConvertingProgressForRecordItem(
        KTRMeetingRecordConverter&, double /*progress*/, const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    /// The MP4 is complete and the intermediate file has been dealt with.
    virtual void
    meetingRecordConverterDidStopConvertingRecordItem(KTRMeetingRecordConverter&,
                                                      const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    /// The media converter's own code; the intermediate file is untouched.
    virtual void
    meetingRecordConverterHitsConvertingErrorForRecordItem(KTRMeetingRecordConverter&, int /*error*/,
                                                           const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    /// Whether the intermediate file of a completed conversion stays. Default: it goes.
    virtual bool
    meetingRecordConverterShouldKeepIntermediateItem(KTRMeetingRecordConverter&,
                                                     const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {
        return false;
    }
};

/// Converts one item through the media converter. Owned by the job runner, which makes a fresh one for each job and is
/// its delegate. Must outlive every callback of its media converter; destroying it releases that one first.
class KTRMeetingRecordConverter {
public:
    explicit KTRMeetingRecordConverter(platform::FileManager& fileManager);
    ~KTRMeetingRecordConverter();

    KTRMeetingRecordConverter(const KTRMeetingRecordConverter&) = delete;
    KTRMeetingRecordConverter& operator=(const KTRMeetingRecordConverter&) = delete;

    std::shared_ptr<KTRMeetingRecordConverterDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRMeetingRecordConverterDelegate>& delegate) { delegate_ = delegate; }

    /// Reports the start, then asks the media converter. Success is a progress of 100 or more, failure an error
    /// report; without a media converter neither ever comes.
    void convertsRecordItem(std::shared_ptr<KTRMeetingRecordItem> item);

    void reportConvertingStarted();
    /// Percent; every value of 100 or more reports the stop as well.
    void reportConvertingProgress(float progress);
    void reportConvertingError(int error);
    void reportConvertingStopped();

    /// Removes the item's source file. A folder at that path counts as not found and is left alone; failures are only
    /// traced.
    void deleteIntermediateItem(const KTRMeetingRecordItem& item);

    /// The item being converted, or converted last; null before the first.
    const std::shared_ptr<KTRMeetingRecordItem>& recordItem() const { return recordItem_; }

private:
    platform::FileManager& fileManager_;
    std::weak_ptr<KTRMeetingRecordConverterDelegate> delegate_;
    std::shared_ptr<KTRMeetingRecordItem> recordItem_;
    std::unique_ptr<ZEDMediaConverterProxy> converterProxy_;
};
