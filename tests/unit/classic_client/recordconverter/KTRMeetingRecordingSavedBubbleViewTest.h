#pragma once

#include "KTRMeetingRecordingBubbleButtonModel.h"
#include "KTRMeetingRecordingSavedBubbleView.h"
#include "support/FakeImageCatalog.h"
#include "support/FakeTextMeasure.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>

namespace test {

/// A bubble's view whose text "text" takes one line; the titles "Open" and "View in Folder" have sizes too.
class KTRMeetingRecordingSavedBubbleViewTest : public testing::Test {
protected:
    KTRMeetingRecordingSavedBubbleViewTest() {
        measure.setSize("text", {150, 16});
        measure.setSize("Open", {28.5, 14});
        measure.setSize("View in Folder", {77.25, 14});
        view.setContentString("text");
        view.setIconImage(images.imageNamed("icn_check"));
    }

    static std::shared_ptr<KTRMeetingRecordingBubbleButtonModel> model(const std::optional<std::string>& title) {
        auto made = std::make_shared<KTRMeetingRecordingBubbleButtonModel>();
        made->setButtonTitle(title);
        return made;
    }

    const platform::ui::Font buttonFont{"TamsaSansTT Light", 12.0};
    FakeImageCatalog images;
    FakeTextMeasure measure;
    KTRMeetingRecordingSavedBubbleView view;
};

}  // namespace test
