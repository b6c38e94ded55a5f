#pragma once

#include "KTRMeetingRecordingSavedBubbleView.h"
#include "platform/NotificationCenter.h"
#include "platform/qt/QtStatusBar.h"
#include "platform/qt/QtTextMeasure.h"
#include "platform/ui/Image.h"
#include "uilib/CAuroraBubble.h"
#include "uilib/qt/QtAuroraBubbleMaker.h"

#include <QWidget>
#include <chrono>
#include <cstddef>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace test {

/// The real kit with the application's own bubble view, and the closings that it announces.
class BubbleKit : public ::testing::Test {
protected:
    BubbleKit();
    ~BubbleKit() override;

    /// A bubble view like the application's; one button per title, which records its title when pressed.
    std::shared_ptr<KTRMeetingRecordingSavedBubbleView> makeView(const std::string& text,
                                                                 const std::vector<std::string>& buttons = {},
                                                                 const std::string& icon = "icn_check");

    /// The application's look and `bubbleKind`, but with these times in seconds.
    std::shared_ptr<CAuroraBubbleDescription> makeDescription(const AuroraFadeRecord& fade) const;

    /// Makes a bubble with the application's look and these times, and shows it.
    std::shared_ptr<CAuroraBubble> open(const std::shared_ptr<platform::ui::View>& view, const AuroraFadeRecord& fade);

    /// Opens a bubble and waits for its window. It is shown for `shown` seconds; the test holds it only weakly.
    std::weak_ptr<CAuroraBubble> show(const std::shared_ptr<platform::ui::View>& view, double shown = 60);

    /// The windows of the bubbles now on the screen.
    static std::vector<QWidget*> windows();

    /// Gives this window the keyboard focus; null gives it to none.
    static void activate(QWidget* window);

    /// The window of the only bubble; a test failure and null if there is any other number of bubbles.
    static QWidget* onlyWindow();

    /// The pointer enters and leaves a bubble; a key is pressed in it.
    static void enter(QWidget* window);
    static void leave(QWidget* window);
    static void press(QWidget* window, int key);

    bool waitUntilClosed(std::size_t count, std::chrono::milliseconds limit = std::chrono::seconds(20)) const;

    platform::qt::QtTextMeasure measure;
    platform::ui::FolderImageCatalog images{RESOURCES "/images"};
    platform::NotificationCenter center;
    platform::qt::QtStatusBar statusBar;
    std::unique_ptr<uilib::qt::QtAuroraBubbleMaker> maker;
    AuroraBubbleKind bubbleKind = AuroraBubbleKind::success;
    std::vector<const void*> closed;
    std::vector<std::string> pressed;

private:
    std::vector<std::weak_ptr<CAuroraBubble>> opened_;
};

}  // namespace test
