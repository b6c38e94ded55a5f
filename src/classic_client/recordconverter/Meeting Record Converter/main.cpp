// The only file that knows every concrete class: it connects the application with the providers of its platform.

#include "AppDelegate.h"
#include "KTRAppLaunchingEnv.h"
#include "OpeningFailureBubbles.h"
#include "answerToUser.h"
#include "mediaconverter/providers/ConvertedFileManager.h"
#include "mediaconverter/providers/ConvertedWorkspace.h"
#include "platform/BusySerialQueueMaker.h"
#include "platform/FileURL.h"
#include "platform/GatedSerialQueueMaker.h"
#include "platform/NotificationCenter.h"
#include "platform/PathOperations.h"
#include "platform/ProcessInformation.h"
#include "platform/ProgramIdentity.h"
#include "platform/ThreadSerialQueue.h"
#include "platform/linux/LinuxBackgroundExecutor.h"
#include "platform/linux/LinuxProcessIdentities.h"
#include "platform/linux/Memory.h"
#include "platform/linux/PidfdProcessExitWatch.h"
#include "platform/linux/SyslogSystemLog.h"
#include "platform/qt/LostDisplay.h"
#include "platform/qt/NotificationBus.h"
#include "platform/qt/OwnScope.h"
#include "platform/qt/QtApplication.h"
#include "platform/qt/QtDistributedNotificationCenter.h"
#include "platform/qt/QtMainQueue.h"
#include "platform/qt/QtRunLoop.h"
#include "platform/qt/QtStatusBar.h"
#include "platform/qt/QtStringTables.h"
#include "platform/qt/QtTextMeasure.h"
#include "platform/qt/QtUserDefaults.h"
#include "platform/qt/QtWorkspace.h"
#include "platform/qt/TaskbarProgress.h"
#include "platform/qt/WorkInhibitor.h"
#include "platform/ui/Image.h"
#include "recordkeeping/LaunchHandOver.h"
#include "recordkeeping/MistakeLog.h"
#include "recordkeeping/PendingFolder.h"
#include "recordkeeping/Recordkeeper.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "setAppLocale.h"
#include "uilib/qt/QtAuroraBubbleMaker.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace {

/// The folder that holds bin, lib, libexec, PlugIns and Resources.
std::string resourcesFolder() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return platform::appendingPathComponent(executable.parent_path().parent_path().string(), "Resources");
}

/// The services that class-level functions use without receiving them as arguments.
struct StandardServices {
    explicit StandardServices(const std::string& resources)
        : stringTables(userDefaults, platform::appendingPathComponent(resources, "translations")),
          images(platform::appendingPathComponent(resources, "images")) {
        platform::SystemLog::setStandard(&systemLog);
        platform::UserDefaults::setStandard(&userDefaults);
        platform::StringTables::setStandard(&stringTables);
        platform::ui::ImageCatalog::setStandard(&images);
        platform::ui::TextMeasure::setStandard(&textMeasure);
    }

    platform::SyslogSystemLog systemLog;
    platform::qt::QtUserDefaults userDefaults;
    platform::qt::QtStringTables stringTables;
    platform::ui::FolderImageCatalog images;
    platform::qt::QtTextMeasure textMeasure;
};

/// Everything that the application delegate receives.
struct Providers {
    Providers(int argc, char* argv[]) : application(argc, argv), processInformation(argc, argv) {}

    platform::Platform asPlatform() {
        return {application,        runLoop,   mainQueue,          conversionQueues, distributedCenter,
                notificationCenter, exitWatch, processInformation, fileManager,      statusBar,
                convertedWorkspace};
    }

    /// Each entry of the status icon's menu shows a recording in its folder.
    std::vector<platform::qt::StatusMenuEntry> menuOf(const recordkeeping::WorkProgress& progress) {
        std::vector<platform::qt::StatusMenuEntry> entries;
        for (const auto& [path, text] : recordkeeping::shownRecordings(progress)) {
            const auto folder = platform::FileURL::fileURLWithPath(path, false).deletingLastPathComponent();
            entries.push_back({path, text, [this, folder] { workspace.openURL(folder); }});
        }
        return entries;
    }

    platform::qt::QtApplication application;
    platform::qt::QtRunLoop runLoop;
    platform::qt::QtMainQueue mainQueue;
    platform::ThreadSerialQueueMaker serialQueueMaker;
    platform::GatedSerialQueueMaker gatedQueues{serialQueueMaker};
    // Has work exactly while there is something to convert or to report; the recordkeeper adds the work that a media
    // converter does on its own thread.
    platform::BusySerialQueueMaker conversionQueues{gatedQueues, mainQueue};
    platform::qt::NotificationBus bus;
    platform::qt::QtDistributedNotificationCenter distributedCenter{bus};
    recordkeeping::MistakeLog mistakeLog{bus};
    platform::NotificationCenter notificationCenter;
    platform::PidfdProcessExitWatch exitWatch{runLoop};
    platform::MainProcessInformation processInformation;
    mediaconverter::ConvertedFileManager fileManager{
        [](const std::string& text) { platform::SystemLog::standard().write(text, platform::Severity::warning); }};
    platform::qt::QtStatusBar statusBar;
    platform::qt::QtWorkspace workspace;
    mediaconverter::ConvertedWorkspace convertedWorkspace{workspace};
    uilib::qt::QtAuroraBubbleMaker bubbleMaker{notificationCenter, statusBar};
    const std::shared_ptr<OpeningFailureBubbles> openingFailures =
        std::make_shared<OpeningFailureBubbles>(application, notificationCenter, bubbleMaker);
    platform::qt::OwnScope ownScope;
    platform::qt::WorkInhibitor inhibitor{platform::programTitle, "Converting a meeting recording to MP4"};
    platform::LinuxProcessIdentities processIdentities;
    platform::qt::TaskbarProgress taskbar;
    platform::LinuxBackgroundExecutor background;
    recordkeeping::PendingFolder pendingFolder{recordkeeping::PendingFolder::standardPath(), background, mainQueue};
    recordkeeping::Recordkeeper recordkeeper{
        asPlatform(),
        {conversionQueues, gatedQueues, [this](std::function<void()> then) { bus.afterDelivery(std::move(then)); },
         pendingFolder, processIdentities,
         [this](const recordkeeping::WorkProgress& progress) {
             statusBar.setToolTip(recordkeeping::describedProgress(progress));
             statusBar.setMenu(menuOf(progress));
             taskbar.show(progress.recording, progress.percent / 100.0);
         }}};
};

void connectProviders(Providers& providers) {
    // Whatever launched the converter waits for the spawn confirmation; these can come after it.
    providers.application.setLaunchedHandler([&] {
        providers.recordkeeper.noteLaunched();
        providers.mistakeLog.noteLaunch(providers.processInformation.arguments());
        providers.ownScope.ask(kMeetingRecordConverterBundleIdentifier);
        providers.bubbleMaker.prepare();
    });
    providers.bus.setListener(&providers.mistakeLog);
    providers.conversionQueues.setBusyHandler([&](bool busy) {
        busy ? providers.inhibitor.hold() : providers.inhibitor.release();
        if (!busy) {
            providers.recordkeeper.noteIdle();
        }
    });
    // A quit check that started just before a recording arrived would end the process in the middle of it. The check
    // asks again every second, so refusing once loses nothing. It also waits until the user knows what became of a
    // press on Open.
    providers.application.setTerminationCheck([&] {
        return providers.recordkeeper.mayTerminate() && !providers.workspace.isOpening() &&
               !providers.openingFailures->isAnyOpen();
    });
    providers.workspace.setFailureHandler([&](const platform::FileURL& url) { providers.openingFailures->show(url); });
    providers.exitWatch.setGoneHandler([&](std::int32_t processId) { providers.recordkeeper.noteGone(processId); });
    // A converter that goes on waiting for a meeting does not need the many small blocks that the bubbles have freed.
    providers.bubbleMaker.setAllGoneHandler([&] {
        platform::returnFreedMemory();
        // The thread that reads from the bus lives as long as the process, and also keeps the blocks it has freed.
        providers.bus.runOnBusThread(platform::returnFreedMemory);
    });
    providers.application.setTerminationHandler([&] { providers.distributedCenter.stopDelivering(); });
    // Notifications acknowledged a moment ago may still be on their way to the bus.
    providers.application.setEndingHandler([&] {
        platform::qt::expectEnd();
        providers.recordkeeper.noteEnding();
        providers.bus.flush();
    });
}

/// After a restart, the bus may need a moment to notice that the connection of this process's former program is gone.
bool acquiresNameOfFormerSelf(Providers& providers, const std::string& busName) {
    using namespace std::chrono_literals;
    if (!platform::qt::wasStartedAgain()) {
        return false;
    }
    for (auto waited = 0ms; waited < 2s; waited += 20ms) {
        std::this_thread::sleep_for(20ms);
        if (providers.bus.acquireName(busName)) {
            return true;
        }
    }
    return false;
}

/// The arguments for a restart of this program; absent if nothing waits and no meeting process is known. Announced
/// recordings are in the state folder, and the restarted program reads them from there.
std::optional<std::vector<std::string>> argumentsForRestart(Providers& providers) {
    const auto meeting = providers.recordkeeper.meetingWithoutRecording();
    if (!providers.recordkeeper.noteEnding() && !meeting) {
        return std::nullopt;
    }
    const auto arguments = providers.processInformation.arguments();
    KTRAppLaunchingEnv environment;
    environment.parseArguments(arguments);
    return std::vector<std::string>{arguments.empty() ? "record-converter" : arguments.front(),
                                    "-locale",
                                    environment.localeId().value_or("1"),
                                    "-keepsIntermediateFile",
                                    environment.keepsIntermediateFile().value_or("0"),
                                    "-pid",
                                    std::to_string(meeting.value_or(0))};
}

/// True if another converter runs and has received the arguments of this launch.
bool handedOver(Providers& providers) {
    const std::string busName = kMeetingRecordConverterBundleIdentifier;
    if (providers.bus.acquireName(busName) || acquiresNameOfFormerSelf(providers, busName)) {
        return false;
    }
    recordkeeping::LaunchHandOver handOver(providers.bus, providers.processInformation.arguments());
    return handOver.run() == recordkeeping::LaunchHandOver::Outcome::done;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (const auto answer = answerToUser({argv, argv + argc}, VERSION)) {
        std::fputs(answer->c_str(), stdout);
        return std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    platform::keepMemoryTogether();
    // Neither is ever destroyed: when the process ends, the conversion queue may still be using them.
    [[maybe_unused]] static const auto* const services = new StandardServices(resourcesFolder());
    setAppLocale(argc, argv);

    static auto& providers = *new Providers(argc, argv);
    if (handedOver(providers)) {
        return EXIT_SUCCESS;
    }
    connectProviders(providers);
    const auto application =
        std::make_shared<AppDelegate>(providers.recordkeeper.platformForApplication(), providers.bubbleMaker);
    providers.recordkeeper.setApplication(application);
    providers.application.setDelegate(application);
    platform::qt::startAgainWhenDisplayIsLost([] { return argumentsForRestart(providers); });
    providers.application.run();
}
