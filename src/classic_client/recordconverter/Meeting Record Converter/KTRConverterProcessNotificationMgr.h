#pragma once

#include "KTRConverterReportProtocol.h"
#include "KTRMeetingRecordingSavedBubbleView.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {
class Application;
class FileURL;
class NotificationCenter;
class Workspace;
struct Notification;
}  // namespace platform

class AuroraBubbleMaker;
class CAuroraBubble;
class CAuroraBubbleDescription;

/// The bubble manager: shows the result of each recording below the status icon, keeps the result bubbles until they
/// have closed, and performs the actions of their buttons. Owned by the application delegate for the whole run. Main
/// thread.
class KTRConverterProcessNotificationMgr final
    : public KTRConverterReportProtocol,
      public KTRMeetingRecordingSavedBubbleViewDelegate,
      public std::enable_shared_from_this<KTRConverterProcessNotificationMgr> {
public:
    using Bubbles = std::vector<std::shared_ptr<CAuroraBubble>>;

    /// Observes closing windows from here on.
    KTRConverterProcessNotificationMgr(platform::Application& application,
                                       platform::NotificationCenter& notificationCenter, platform::Workspace& workspace,
                                       AuroraBubbleMaker& bubbleMaker);
    ~KTRConverterProcessNotificationMgr() override;

    KTRConverterProcessNotificationMgr(const KTRConverterProcessNotificationMgr&) = delete;
    KTRConverterProcessNotificationMgr& operator=(const KTRConverterProcessNotificationMgr&) = delete;

    void reportProcessStart() override;
    void reportProcessDoneWithFilePath(const std::optional<std::string>& path) override;
    /// Considers only the result bubbles; an open being-prepared bubble does not delay the quit.
    bool isAllReportJobsHandled() override;

    void showFilesPreparedBubble();
    void showConvertSucceedBubbleWithFilePath(const std::string& path);
    void showConvertFailedBubble();
    /// Diagnostic: shows that a process has started to write `path`.
    void showReceivedJobBubbleWithFilePath(const std::string& path);
    /// Diagnostic: shows that a process has finished writing `path`.
    void showStashedJobBubbleWithFilePath(const std::string& path);

    /// Does nothing when none is open.
    void closeFilesPreparedBubble();

    /// Wraps a finished view in a bubble, stores the bubble and shows it below the status icon.
    void showConvertBubbleWithExternalClientViewIsFilesPreparedBubble(
        const std::shared_ptr<KTRMeetingRecordingSavedBubbleView>& view, bool isFilesPreparedBubble);

    /// The look that all bubbles share; a new object on each call.
    static std::shared_ptr<CAuroraBubbleDescription> createCAuroraBubbleDescription();

    /// Closes the result bubbles that show `view`. The close button of the being-prepared bubble therefore does
    /// nothing.
    void meetingRecordingSavedBubbleViewRequestToClose(KTRMeetingRecordingSavedBubbleView& view) override;
    void closeBubbleWithNotification(const platform::Notification& notification);

    /// Opens the file, or the folder that holds it, then closes the view's bubble, whether or not it could be opened.
    /// An absent path does nothing at all.
    void openFileByDefaultWithFilePathIn(const std::optional<std::string>& path,
                                         KTRMeetingRecordingSavedBubbleView& view);
    void openDirectoryByDefaultWithFilePathIn(const std::optional<std::string>& path,
                                              KTRMeetingRecordingSavedBubbleView& view);

    /// The result bubbles that are open now, in the order they were shown.
    const Bubbles& auroraBubblesArray() const { return auroraBubblesArray_; }
    void setAuroraBubblesArray(Bubbles bubbles) { auroraBubblesArray_ = std::move(bubbles); }

    /// The being-prepared bubble; null if there is none.
    const std::shared_ptr<CAuroraBubble>& filesPreparedBubble() const { return filesPreparedBubble_; }
    void setFilesPreparedBubble(std::shared_ptr<CAuroraBubble> bubble) { filesPreparedBubble_ = std::move(bubble); }

private:
    using OpenAction = void (KTRConverterProcessNotificationMgr::*)(const std::optional<std::string>&,
                                                                    KTRMeetingRecordingSavedBubbleView&);

    std::shared_ptr<KTRMeetingRecordingSavedBubbleView> makeView(const std::string& text, const char* iconName);
    std::shared_ptr<KTRMeetingRecordingBubbleButtonModel>
    makeOpenButtonModel(const char* titleKey, OpenAction action, const std::string& path,
                        const std::shared_ptr<KTRMeetingRecordingSavedBubbleView>& view);
    void showDiagnosticBubble(const char* caption, const std::string& path);

    platform::Application& application_;
    platform::NotificationCenter& notificationCenter_;
    platform::Workspace& workspace_;
    AuroraBubbleMaker& bubbleMaker_;
    Bubbles auroraBubblesArray_;
    std::shared_ptr<CAuroraBubble> filesPreparedBubble_;
};
