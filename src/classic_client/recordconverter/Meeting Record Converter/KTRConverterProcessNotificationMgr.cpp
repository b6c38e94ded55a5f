#include "KTRConverterProcessNotificationMgr.h"

#include "KTRMeetingRecordConverterLocalizableStrings.h"
#include "KTRMeetingRecordConveterLocalizationStringGetter.h"
#include "KTRMeetingRecordingBubbleButtonModel.h"
#include "platform/Application.h"
#include "platform/FileURL.h"
#include "platform/NotificationCenter.h"
#include "platform/PathOperations.h"
#include "platform/StatusBar.h"
#include "platform/Workspace.h"
#include "uilib/CAuroraBubble.h"
#include "unifiedtram/unifiedtram.h"

#include <algorithm>
#include <utility>

namespace {

std::string localized(const char* key) {
    return KTRMeetingRecordConveterLocalizationStringGetter::getLocalizationString(key);
}

}  // namespace

KTRConverterProcessNotificationMgr::KTRConverterProcessNotificationMgr(platform::Application& application,
                                                                       platform::NotificationCenter& notificationCenter,
                                                                       platform::Workspace& workspace,
                                                                       AuroraBubbleMaker& bubbleMaker)
    : application_(application),
      notificationCenter_(notificationCenter),
      workspace_(workspace),
      bubbleMaker_(bubbleMaker) {
    notificationCenter_.addObserver(
        this, platform::WindowWillCloseNotification,
        [this](const platform::Notification& notification) { closeBubbleWithNotification(notification); });
}

KTRConverterProcessNotificationMgr::~KTRConverterProcessNotificationMgr() {
    notificationCenter_.removeObserver(this);
}

void KTRConverterProcessNotificationMgr::reportProcessStart() {
    showFilesPreparedBubble();
}

void KTRConverterProcessNotificationMgr::reportProcessDoneWithFilePath(const std::optional<std::string>& path) {
    if (path && !path->empty()) {
        showConvertSucceedBubbleWithFilePath(*path);
    } else {
        showConvertFailedBubble();
    }
}

bool KTRConverterProcessNotificationMgr::isAllReportJobsHandled() {
    return auroraBubblesArray_.empty();
}

std::shared_ptr<KTRMeetingRecordingSavedBubbleView>
KTRConverterProcessNotificationMgr::makeView(const std::string& text, const char* iconName) {
    auto view = std::make_shared<KTRMeetingRecordingSavedBubbleView>();
    view->setDelegate(shared_from_this());
    view->setContentString(text);
    if (iconName != nullptr) {
        view->setIconImage(platform::ui::ImageCatalog::standard().imageNamed(iconName));
    }
    return view;
}

void KTRConverterProcessNotificationMgr::showFilesPreparedBubble() {
    MacInfoTrace2("RecordConverter", "%s", "-[KTRConverterProcessNotificationMgr showFilesPreparedBubble]");
    const auto view = makeView(localized(kRecordingFilesPreparedWaitConvert), "corvo_logo");
    view->spawnUI();
    showConvertBubbleWithExternalClientViewIsFilesPreparedBubble(view, true);
}

void KTRConverterProcessNotificationMgr::showConvertSucceedBubbleWithFilePath(const std::string& path) {
    MacInfoTrace2("RecordConverter", "%s : %s",
                  "-[KTRConverterProcessNotificationMgr showConvertSucceedBubbleWithFilePath:]", path.c_str());
    const auto view = makeView(localized(kRecordingFileSavedSuccess), "icn_check");
    view->setKind(AuroraBubbleKind::success);
    view->setToolTip(std::string(platform::lastPathComponent(path)));
    view->setButtonModelArray(
        {makeOpenButtonModel(kOpen, &KTRConverterProcessNotificationMgr::openFileByDefaultWithFilePathIn, path, view),
         makeOpenButtonModel(kViewInFolder, &KTRConverterProcessNotificationMgr::openDirectoryByDefaultWithFilePathIn,
                             path, view)});
    view->spawnUI();
    closeFilesPreparedBubble();
    showConvertBubbleWithExternalClientViewIsFilesPreparedBubble(view, false);
}

std::shared_ptr<KTRMeetingRecordingBubbleButtonModel> KTRConverterProcessNotificationMgr::makeOpenButtonModel(
    const char* titleKey, OpenAction action, const std::string& path,
    const std::shared_ptr<KTRMeetingRecordingSavedBubbleView>& view) {
    auto model = std::make_shared<KTRMeetingRecordingBubbleButtonModel>();
    model->setButtonTitle(localized(titleKey));
    // Both are weak: the view owns the model, and a bubble may outlive the manager.
    model->setFunction([weakManager = weak_from_this(), weakView = std::weak_ptr(view), action, path] {
        const auto manager = weakManager.lock();
        const auto itsView = weakView.lock();
        if (manager && itsView) {
            (manager.get()->*action)(path, *itsView);
        }
    });
    return model;
}

void KTRConverterProcessNotificationMgr::showConvertFailedBubble() {
    MacInfoTrace2("RecordConverter", "%s", "-[KTRConverterProcessNotificationMgr showConvertFailedBubble]");
    const auto view = makeView(localized(kRecordingFileConvertFailed), "icn_error");
    view->setKind(AuroraBubbleKind::failure);
    view->spawnUI();
    closeFilesPreparedBubble();
    showConvertBubbleWithExternalClientViewIsFilesPreparedBubble(view, false);
}

void KTRConverterProcessNotificationMgr::showReceivedJobBubbleWithFilePath(const std::string& path) {
    showDiagnosticBubble("**** received job ****", path);
}

void KTRConverterProcessNotificationMgr::showStashedJobBubbleWithFilePath(const std::string& path) {
    showDiagnosticBubble("**** stashed job ****", path);
}

void KTRConverterProcessNotificationMgr::showDiagnosticBubble(const char* caption, const std::string& path) {
    const auto view = makeView(std::string(caption) + "\nFilePath = " + path, nullptr);
    view->spawnUI();
    showConvertBubbleWithExternalClientViewIsFilesPreparedBubble(view, false);
}

void KTRConverterProcessNotificationMgr::closeFilesPreparedBubble() {
    if (filesPreparedBubble_) {
        filesPreparedBubble_->close();
    }
    filesPreparedBubble_ = nullptr;
}

void KTRConverterProcessNotificationMgr::showConvertBubbleWithExternalClientViewIsFilesPreparedBubble(
    const std::shared_ptr<KTRMeetingRecordingSavedBubbleView>& view, bool isFilesPreparedBubble) {
    const auto applicationDelegate = application_.delegate();
    const auto description = createCAuroraBubbleDescription();
    description->setKind(view->kind());
    const auto bubble = bubbleMaker_.makeBubbleWithDescriptionExternalClientView(description, view);
    if (isFilesPreparedBubble) {
        // A bubble that is already in the slot stays open; the kit closes it when its time is up.
        filesPreparedBubble_ = bubble;
    } else {
        auroraBubblesArray_.push_back(bubble);
    }
    const auto statusItem = applicationDelegate ? applicationDelegate->statusItem() : nullptr;
    const auto anchor = statusItem ? statusItem->view() : nullptr;
    const double middle = anchor ? anchor->frame().width / 2 : 0;
    bubble->showAtAndBindInViewOption({middle, 0}, anchor, CAuroraBubble::hangBelow);
}

std::shared_ptr<CAuroraBubbleDescription> KTRConverterProcessNotificationMgr::createCAuroraBubbleDescription() {
    auto description = CAuroraBubbleDescription::defaultDescription();
    description->setBHasArrow(true);
    description->setArrowDescription(description->packArrowDescription({6, 20.0, 10.0, 40.0, 40.0}));
    description->setBFade(true);
    description->setFadeDescription(description->packFadeDescription({0.1, 15.0, 0.1}));
    description->setBgColor({0, 0, 0, 1.0});
    description->setFCornerRadius(4.0);
    description->setBorderColor(platform::ui::Color::clearColor());
    description->setBClosable(false);
    description->setBInfoImage(false);
    return description;
}

void KTRConverterProcessNotificationMgr::meetingRecordingSavedBubbleViewRequestToClose(
    KTRMeetingRecordingSavedBubbleView& view) {
    MacInfoTrace2("RecordConverter", "%s, bubble closed by user",
                  "-[KTRConverterProcessNotificationMgr meetingRecordingSavedBubbleViewRequestToClose:]");
    // A copy, because a kit that announces the closing at once would change the list during the loop.
    const auto bubbles = auroraBubblesArray_;
    for (const auto& bubble : bubbles) {
        if (bubble->clientView().get() == &view) {
            bubble->close();
        }
    }
}

void KTRConverterProcessNotificationMgr::closeBubbleWithNotification(const platform::Notification& notification) {
    const auto closing =
        std::find_if(auroraBubblesArray_.begin(), auroraBubblesArray_.end(),
                     [&notification](const auto& bubble) { return bubble.get() == notification.object; });
    if (closing != auroraBubblesArray_.end()) {
        MacInfoTrace2("RecordConverter", "%s, remove bubble from bubbleArray",
                      "-[KTRConverterProcessNotificationMgr closeBubbleWithNotification:]");
        auroraBubblesArray_.erase(closing);
    }
}

void KTRConverterProcessNotificationMgr::openFileByDefaultWithFilePathIn(const std::optional<std::string>& path,
                                                                         KTRMeetingRecordingSavedBubbleView& view) {
    if (!path) {
        return;
    }
    workspace_.openURL(platform::FileURL::fileURLWithPath(*path, false));
    meetingRecordingSavedBubbleViewRequestToClose(view);
}

void KTRConverterProcessNotificationMgr::openDirectoryByDefaultWithFilePathIn(
    const std::optional<std::string>& path, KTRMeetingRecordingSavedBubbleView& view) {
    if (!path) {
        return;
    }
    workspace_.openURL(platform::FileURL::fileURLWithPath(*path, false).deletingLastPathComponent());
    meetingRecordingSavedBubbleViewRequestToClose(view);
}
