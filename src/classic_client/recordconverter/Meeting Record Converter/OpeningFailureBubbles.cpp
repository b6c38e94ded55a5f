#include "OpeningFailureBubbles.h"

#include "KTRConverterProcessNotificationMgr.h"
#include "KTRMeetingRecordConveterLocalizationStringGetter.h"
#include "platform/Application.h"
#include "platform/FileURL.h"
#include "platform/NotificationCenter.h"
#include "platform/PathOperations.h"
#include "platform/StatusBar.h"
#include "uilib/CAuroraBubble.h"

#include <algorithm>
#include <string>

OpeningFailureBubbles::OpeningFailureBubbles(platform::Application& application,
                                             platform::NotificationCenter& notificationCenter,
                                             AuroraBubbleMaker& bubbleMaker)
    : application_(application), notificationCenter_(notificationCenter), bubbleMaker_(bubbleMaker) {
    notificationCenter_.addObserver(
        this, platform::WindowWillCloseNotification, [this](const platform::Notification& notification) {
            std::erase_if(open_, [&](const auto& bubble) { return bubble.get() == notification.object; });
        });
}

OpeningFailureBubbles::~OpeningFailureBubbles() {
    notificationCenter_.removeObserver(this);
}

void OpeningFailureBubbles::show(const platform::FileURL& url) {
    const auto& wanted = url.item().empty() ? url.path() : url.item();
    const auto view = std::make_shared<KTRMeetingRecordingSavedBubbleView>();
    view->setDelegate(shared_from_this());
    view->setContentString(KTRMeetingRecordConveterLocalizationStringGetter::getLocalizationString(
        url.isDirectory() ? folderFailed : recordingFailed));
    view->setIconImage(platform::ui::ImageCatalog::standard().imageNamed("icn_error"));
    view->setKind(AuroraBubbleKind::failure);
    view->setToolTip(std::string(platform::lastPathComponent(wanted)));
    view->spawnUI();

    const auto description = KTRConverterProcessNotificationMgr::createCAuroraBubbleDescription();
    description->setKind(view->kind());
    const auto bubble = bubbleMaker_.makeBubbleWithDescriptionExternalClientView(description, view);
    open_.push_back(bubble);
    const auto delegate = application_.delegate();
    const auto statusItem = delegate ? delegate->statusItem() : nullptr;
    const auto anchor = statusItem ? statusItem->view() : nullptr;
    bubble->showAtAndBindInViewOption({anchor ? anchor->frame().width / 2 : 0, 0}, anchor, CAuroraBubble::hangBelow);
}

void OpeningFailureBubbles::meetingRecordingSavedBubbleViewRequestToClose(KTRMeetingRecordingSavedBubbleView& view) {
    // A copy, because a kit that announces the closing at once would change the list during the loop.
    const auto bubbles = open_;
    for (const auto& bubble : bubbles) {
        if (bubble->clientView().get() == &view) {
            bubble->close();
        }
    }
}
