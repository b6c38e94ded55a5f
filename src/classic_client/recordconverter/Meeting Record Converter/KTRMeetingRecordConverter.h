#pragma once

#include <memory>

namespace platform {
class FileManager;
}

class KTRMeetingRecordConverter;
class KTRMeetingRecordItem;
class ZEDMediaConverterProxy;

/// Receives the events of a conversion. The start comes on the thread that requested the conversion, the rest on
/// whatever thread the media converter calls back from. Every report carries the item that was passed in.
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

    /// The MP4 is complete, and the intermediate file has been removed or kept.
    virtual void
    meetingRecordConverterDidStopConvertingRecordItem(KTRMeetingRecordConverter&,
                                                      const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    /// `error` is the media converter's own code; the intermediate file is untouched.
    virtual void
    meetingRecordConverterHitsConvertingErrorForRecordItem(KTRMeetingRecordConverter&, int /*error*/,
                                                           const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    /// Whether the intermediate file of a completed conversion is kept. Default: it is removed.
    virtual bool
    meetingRecordConverterShouldKeepIntermediateItem(KTRMeetingRecordConverter&,
                                                     const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {
        return false;
    }
};

/// Converts one item through the media converter. Owned by the job runner, which creates a new one for each job and is
/// its delegate. Must outlive every callback of its media converter; the destructor releases that one first.
class KTRMeetingRecordConverter {
public:
    explicit KTRMeetingRecordConverter(platform::FileManager& fileManager);
    ~KTRMeetingRecordConverter();

    KTRMeetingRecordConverter(const KTRMeetingRecordConverter&) = delete;
    KTRMeetingRecordConverter& operator=(const KTRMeetingRecordConverter&) = delete;

    std::shared_ptr<KTRMeetingRecordConverterDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRMeetingRecordConverterDelegate>& delegate) { delegate_ = delegate; }

    /// Reports the start, then calls the media converter. Success is a progress of 100 or more, failure an error
    /// report; without a media converter neither ever comes.
    void convertsRecordItem(std::shared_ptr<KTRMeetingRecordItem> item);

    void reportConvertingStarted();
    /// Percent; each value of 100 or more also reports the stop.
    void reportConvertingProgress(float progress);
    void reportConvertingError(int error);
    void reportConvertingStopped();

    /// Removes the item's source file. A folder at that path counts as not found and stays; failures are only traced.
    void deleteIntermediateItem(const KTRMeetingRecordItem& item);

    /// The item being converted, or converted last; null before the first.
    const std::shared_ptr<KTRMeetingRecordItem>& recordItem() const { return recordItem_; }

private:
    platform::FileManager& fileManager_;
    std::weak_ptr<KTRMeetingRecordConverterDelegate> delegate_;
    std::shared_ptr<KTRMeetingRecordItem> recordItem_;
    std::unique_ptr<ZEDMediaConverterProxy> converterProxy_;
};
