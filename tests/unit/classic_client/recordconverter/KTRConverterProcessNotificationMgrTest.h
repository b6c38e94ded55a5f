#pragma once

#include "KTRConverterProcessNotificationMgr.h"
#include "support/FakePlatform.h"
#include "support/RecordingTrace.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <memory>

namespace test {

inline KTRMeetingRecordingSavedBubbleView& viewOf(const FakeAuroraBubble& bubble) {
    return dynamic_cast<KTRMeetingRecordingSavedBubbleView&>(*bubble.clientView());
}

/// The bubble manager of an application whose status item has a view, with bubbles that close when a test says so.
class KTRConverterProcessNotificationMgrTest : public testing::Test {
protected:
    /// The application's delegate as the manager sees it.
    class ApplicationDelegate final : public platform::ApplicationDelegate {
    public:
        std::shared_ptr<platform::StatusItem> statusItem() const override { return item; }

        std::shared_ptr<FakeStatusItem> item;
    };

    KTRConverterProcessNotificationMgrTest() {
        applicationDelegate->item = std::make_shared<FakeStatusItem>(-1);
        applicationDelegate->item->setView(anchor);
        fake.application.setDelegate(applicationDelegate);
    }

    const FakeAuroraBubble& bubble(std::size_t index) const { return *fake.bubbleMaker.bubbles().at(index); }

    RecordingTrace trace;
    FakePlatform fake;
    std::shared_ptr<platform::ui::View> anchor = std::make_shared<platform::ui::View>(platform::ui::Rect{0, 0, 20, 20});
    std::shared_ptr<ApplicationDelegate> applicationDelegate = std::make_shared<ApplicationDelegate>();
    std::shared_ptr<KTRConverterProcessNotificationMgr> manager = std::make_shared<KTRConverterProcessNotificationMgr>(
        fake.application, fake.notificationCenter, fake.workspace, fake.bubbleMaker);
};

}  // namespace test
