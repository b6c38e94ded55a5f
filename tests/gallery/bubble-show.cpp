/// bubble-show: the application's real bubbles under its real status icon, without a recording. For eyes, pictures and
/// tests of the kit.
///   bubble-show RESOURCES LANGUAGE KIND...
/// LANGUAGE is a code such as "de"; a KIND is prepared, saved, failed, received:PATH or stashed:PATH. Prints one line
/// for each event ("opened URL", "closed N left") and ends when the last result bubble has closed.
/// BUBBLE_SHOW_DESKTOP=#rrggbb in the environment puts a plain desktop of that colour below them.

#include "KTRConverterProcessNotificationMgr.h"
#include "platform/NotificationCenter.h"
#include "platform/StatusBar.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"
#include "platform/linux/SyslogSystemLog.h"
#include "platform/qt/QtApplication.h"
#include "platform/qt/QtMainQueue.h"
#include "platform/qt/QtStatusBar.h"
#include "platform/qt/QtStringTables.h"
#include "platform/qt/QtTextMeasure.h"
#include "platform/ui/ImageView.h"
#include "uilib/qt/QtAuroraBubbleMaker.h"

#include <QColor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

class PrintingWorkspace final : public platform::Workspace {
public:
    bool openURL(const platform::FileURL& url) override {
        std::printf("opened %s\n", url.absoluteString().c_str());
        std::fflush(stdout);
        return true;
    }
};

/// A compositor draws its own grey where nothing else is drawn.
std::unique_ptr<QWidget> makeDesktop() {
    const auto color = QString::fromUtf8(qgetenv("BUBBLE_SHOW_DESKTOP"));
    if (color.isEmpty()) {
        return nullptr;
    }
    auto desktop = std::make_unique<QWidget>(nullptr, Qt::X11BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus);
    desktop->setPalette(QPalette(QColor(color)));
    desktop->setGeometry(QGuiApplication::primaryScreen()->geometry());
    desktop->show();
    desktop->lower();
    return desktop;
}

class Show final : public platform::ApplicationDelegate {
public:
    Show(platform::qt::QtApplication& application, std::vector<std::string> kinds)
        : application_(application), kinds_(std::move(kinds)), maker_(center_, statusBar_) {
        maker_.prepare();
    }

    void applicationDidFinishLaunching() override {
        desktop_ = makeDesktop();
        statusItem_ = statusBar_.statusItemWithLength(platform::StatusBar::variableLength);
        auto view = std::make_shared<platform::ui::ImageView>(platform::ui::Rect{0, 0, 20, 20});
        view->setImage(platform::ui::ImageCatalog::standard().imageNamed("corvoball"));
        statusItem_->setView(view);

        manager_ = std::make_shared<KTRConverterProcessNotificationMgr>(application_, center_, workspace_, maker_);
        for (const auto& kind : kinds_) {
            show(kind);
        }
        center_.addObserver(this, platform::WindowWillCloseNotification, [this](const auto&) {
            std::printf("closed, %zu left\n", manager_->auroraBubblesArray().size());
            std::fflush(stdout);
            if (manager_->isAllReportJobsHandled()) {
                application_.terminate(this);
            }
        });
    }

    std::shared_ptr<platform::StatusItem> statusItem() const override { return statusItem_; }

private:
    void show(const std::string& kind) {
        const auto argument = kind.substr(std::min(kind.size(), kind.find(':') + 1));
        if (kind == "prepared") {
            manager_->showFilesPreparedBubble();
        } else if (kind == "saved") {
            manager_->showConvertSucceedBubbleWithFilePath("/tmp/Meetings/talk.mp4");
        } else if (kind == "failed") {
            manager_->showConvertFailedBubble();
        } else if (kind.starts_with("received:")) {
            manager_->showReceivedJobBubbleWithFilePath(argument);
        } else if (kind.starts_with("stashed:")) {
            manager_->showStashedJobBubbleWithFilePath(argument);
        }
    }

    platform::qt::QtApplication& application_;
    const std::vector<std::string> kinds_;
    platform::NotificationCenter center_;
    platform::qt::QtStatusBar statusBar_;
    PrintingWorkspace workspace_;
    uilib::qt::QtAuroraBubbleMaker maker_;
    std::shared_ptr<platform::StatusItem> statusItem_;
    std::shared_ptr<KTRConverterProcessNotificationMgr> manager_;
    std::unique_ptr<QWidget> desktop_;
};

}  // namespace

int main(int argc, char* argv[]) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: bubble-show RESOURCES LANGUAGE KIND...\n");
        return 2;
    }
    const std::string resources = argv[1];
    platform::SyslogSystemLog log;
    platform::SystemLog::setStandard(&log);
    platform::UserDefaults::standard().setStringList("AppleLanguages", {argv[2], "en"});
    const platform::qt::QtStringTables tables(platform::UserDefaults::standard(), resources + "/translations");
    platform::StringTables::setStandard(&tables);
    const platform::ui::FolderImageCatalog images(resources + "/images");
    platform::ui::ImageCatalog::setStandard(&images);
    const platform::qt::QtTextMeasure measure;
    platform::ui::TextMeasure::setStandard(&measure);

    platform::qt::QtApplication application(argc, argv);
    application.setDelegate(std::make_shared<Show>(application, std::vector<std::string>(argv + 3, argv + argc)));
    application.run();
}
