#pragma once

#include "KTRMeetingRecordingSavedBubbleView.h"

#include <memory>
#include <vector>

namespace platform {
class Application;
class FileURL;
class NotificationCenter;
}  // namespace platform

class AuroraBubbleMaker;
class CAuroraBubble;

/// Shows a bubble for each file or folder that the user wanted to open and nothing could. It looks like a result
/// bubble, but is none: the bubble manager does not know it. Main thread.
class OpeningFailureBubbles final : public KTRMeetingRecordingSavedBubbleViewDelegate,
                                    public std::enable_shared_from_this<OpeningFailureBubbles> {
public:
    /// The texts, which are also the keys of their translations.
    static constexpr char recordingFailed[] = "The recording could not be opened.";
    static constexpr char folderFailed[] = "The folder could not be opened.";

    /// All outlive this object. Observes closing windows from here on.
    OpeningFailureBubbles(platform::Application& application, platform::NotificationCenter& notificationCenter,
                          AuroraBubbleMaker& bubbleMaker);
    ~OpeningFailureBubbles() override;

    OpeningFailureBubbles(const OpeningFailureBubbles&) = delete;
    OpeningFailureBubbles& operator=(const OpeningFailureBubbles&) = delete;

    void show(const platform::FileURL& url);

    /// Whether one is open that the user may not have read yet.
    bool isAnyOpen() const { return !open_.empty(); }

    void meetingRecordingSavedBubbleViewRequestToClose(KTRMeetingRecordingSavedBubbleView& view) override;

private:
    platform::Application& application_;
    platform::NotificationCenter& notificationCenter_;
    AuroraBubbleMaker& bubbleMaker_;
    std::vector<std::shared_ptr<CAuroraBubble>> open_;
};
