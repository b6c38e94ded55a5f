#include "AppDelegate.h"

#include "KTRAppInlet.h"
#include "KTRAppLaunchingEnv.h"
#include "KTRConverterReporterFactory.h"
#include "KTRMeetingRecordItem.h"
#include "TraceText.h"
#include "platform/DispatchQueue.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/IntegerReading.h"
#include "platform/ProcessInformation.h"
#include "platform/RunLoop.h"
#include "platform/StatusBar.h"
#include "platform/SystemLog.h"
#include "platform/ui/ImageView.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"
#include "unifiedtram/unifiedtram.h"

#include <chrono>
#include <utility>

namespace {

constexpr double statusIconSide = 20;
constexpr std::chrono::duration<double> quitCheckInterval{1.0};
constexpr std::uint64_t bubbleReporter = 0;

}  // namespace

AppDelegate::AppDelegate(const platform::Platform& platform, AuroraBubbleMaker& bubbleMaker)
    : platform_(platform), bubbleMaker_(bubbleMaker) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
    constexpr const char* method = "-[AppDelegate applicationDidFinishLaunching:]";
    MacInfoTrace2("RecordConverter", "%s: begin", method);
    statusItem_ = platform_.statusBar.statusItemWithLength(platform::StatusBar::variableLength);
    const auto image = platform::ui::ImageCatalog::standard().imageNamed("corvoball");
    const auto imageView =
        std::make_shared<platform::ui::ImageView>(platform::ui::Rect{0, 0, statusIconSide, statusIconSide});
    imageView->setImage(image);
    statusItem_->setView(imageView);
    statusItem_->setHighlightMode(true);

    convertingJobRunner()->setDelegate(shared_from_this());
    meetingPool()->setDelegate(shared_from_this());
    appInlet()->setDelegate(meetingPool());

    onStartUp();
    MacInfoTrace2("RecordConverter", "%s: end", method);
}

void AppDelegate::onStartUp() {
    constexpr const char* method = "-[AppDelegate onStartUp]";
    MacInfoTrace2("RecordConverter", "%s, begin", method);
    const auto& environment = launchingEnv();
    environment->parseArguments(platform_.processInformation.arguments());
    MacInfoTrace2("RecordConverter", "%s: localeId = %d", method, platform::integerReading(environment->localeId()));

    const std::int32_t parent = platform::integerReading(environment->parentProcessId());
    notifyAppSpawnByProcess(parent);
    MacInfoTrace2("RecordConverter", "%s: parent pid = %d", method, parent);
    if (parent != 0) {
        const auto& path = environment->filePath();
        meetingPool()->fletchWithFirstMeetingProcessSavingToIntermediateFile(parent, path);
        MacInfoTrace2("RecordConverter", "%s: FIRST file in FIRST meeting, %s", method, traceText(path));
    }
    MacInfoTrace2("RecordConverter", "%s: end", method);
}

void AppDelegate::notifyAppSpawnByProcess(std::int32_t pid) {
    const platform::UserInfo userInfo = {
        {kMeetingRecordNotificationKey_AckFromProcessId, platform_.processInformation.processIdentifier()},
        {kMeetingRecordNotificationKey_AckToProcessId, pid},
    };
    platform_.distributedCenter.postNotification(
        {kMeetingRecordNotificationName_AppSpawnConfirm, std::nullopt, userInfo});
}

void AppDelegate::setBAllTaskFinished(bool finished) {
    const auto timer = checkNeedTerminateTimer();
    if (finished && !timer) {
        // This may run on the conversion queue, but a timer belongs on the main run loop.
        platform_.mainQueue.async([self = shared_from_this()] {
            const auto check = [delegate = self->weak_from_this()] {
                if (const auto alive = delegate.lock()) {
                    alive->checkNeedQuitApp();
                }
            };
            self->setCheckNeedTerminateTimer(self->platform_.runLoop.scheduleRepeatingTimer(quitCheckInterval, check));
        });
    } else if (!finished && timer) {
        timer->invalidate();
        setCheckNeedTerminateTimer(nullptr);
    }
    bAllTaskFinished_ = finished;
}

void AppDelegate::checkNeedQuitApp() {
    const int finished = bAllTaskFinished() ? 1 : 0;
    const int handled = converterReporter()->isAllReportJobsHandled() ? 1 : 0;
    MacInfoTrace2("RecordConverter", "%s: check all task finish %d, check report handled: %d",
                  "-[AppDelegate checkNeedQuitApp]", finished, handled);
    if (bAllTaskFinished() && converterReporter()->isAllReportJobsHandled()) {
        quitApp();
    }
}

void AppDelegate::quitApp() {
    MacInfoTrace2("RecordConverter", "%s: ", "-[AppDelegate quitApp]");
    platform_.application.terminate(this);
}

void AppDelegate::applicationWillTerminate() {
    constexpr const char* method = "-[AppDelegate applicationWillTerminate:]";
    MacInfoTrace2("RecordConverter", "%s: begin", method);
    MacInfoTrace2("RecordConverter", "%s: doing nothing", method);
    MacInfoTrace2("RecordConverter", "%s: end", method);
}

const std::shared_ptr<KTRMeetingRecordConvertingJobRunner>& AppDelegate::convertingJobRunner() {
    if (!convertingJobRunner_) {
        convertingJobRunner_ =
            std::make_shared<KTRMeetingRecordConvertingJobRunner>(platform_.serialQueueMaker, platform_.fileManager);
    }
    return convertingJobRunner_;
}

const std::shared_ptr<KTRAppInlet>& AppDelegate::appInlet() {
    if (!appInlet_) {
        appInlet_ = std::make_shared<KTRAppInlet>(platform_.distributedCenter, platform_.processInformation);
    }
    return appInlet_;
}

const std::shared_ptr<KTRMeetingPool>& AppDelegate::meetingPool() {
    if (!meetingPool_) {
        meetingPool_ = KTRMeetingPool::create(platform_.exitWatch);
    }
    return meetingPool_;
}

const std::shared_ptr<KTRAppLaunchingEnv>& AppDelegate::launchingEnv() {
    if (!launchingEnv_) {
        launchingEnv_ = std::make_shared<KTRAppLaunchingEnv>();
    }
    return launchingEnv_;
}

const std::shared_ptr<KTRConverterReportProtocol>& AppDelegate::converterReporter() {
    if (!converterReporter_) {
        const KTRConverterReporterFactory factory(platform_.application, platform_.notificationCenter,
                                                  platform_.workspace, bubbleMaker_);
        converterReporter_ = factory.createConverterReporterWithType(bubbleReporter);
    }
    return converterReporter_;
}

std::shared_ptr<platform::Timer> AppDelegate::checkNeedTerminateTimer() const {
    const std::lock_guard lock(timerMutex_);
    return checkNeedTerminateTimer_;
}

void AppDelegate::setCheckNeedTerminateTimer(std::shared_ptr<platform::Timer> timer) {
    const std::lock_guard lock(timerMutex_);
    checkNeedTerminateTimer_ = std::move(timer);
}

void AppDelegate::meetingPoolDidReceiveJobFromProcessWritingTo(KTRMeetingPool&, std::int32_t pid,
                                                               const std::optional<std::string>& path) {
    MacInfoTrace2("RecordConverter", "%s: Received Job, src_pid = %d, src_path = %s",
                  "-[AppDelegate meetingPool:didReceiveJobFromProcess:writingTo:]", pid, traceText(path));
    setBAllTaskFinished(false);
}

void AppDelegate::meetingPoolDidStashJobFromProcessSavedAt(KTRMeetingPool&, std::int32_t pid,
                                                           const std::optional<std::string>& path) {
    MacInfoTrace2("RecordConverter", "%s: Stashed Job, src_pid = %d, src_path = %s",
                  "-[AppDelegate meetingPool:didStashJobFromProcess:savedAt:]", pid, traceText(path));
}

void AppDelegate::meetingPoolDidReceiveRequestFromProcessToConvertRecords(KTRMeetingPool&, std::int32_t pid,
                                                                          const std::vector<std::string>& paths) {
    MacInfoTrace2("RecordConverter", "%s: Scheduling Jobs, src_pid = %d",
                  "-[AppDelegate meetingPool:didReceiveRequestFromProcess:toConvertRecords:]", pid);
    for (const auto& path : paths) {
        const auto item = std::make_shared<KTRMeetingRecordItem>(pid, path, platform_.fileManager);
        convertingJobRunner()->scheduleJob(item);
        MacInfoTrace2("RecordConverter", "%s: Scheduling Job, src_path = %s",
                      "-[AppDelegate meetingPool:didReceiveRequestFromProcess:toConvertRecords:]_block_invoke",
                      item->srcPath().c_str());
    }
}

void AppDelegate::meetingPoolDidExhaust(KTRMeetingPool&) {
    MacInfoTrace2("RecordConverter", "%s: ", "-[AppDelegate meetingPoolDidExhaust:]");
}

void AppDelegate::recordConvertingJobRunnerDidStartConvertingRecordItem(
    KTRMeetingRecordConvertingJobRunner&, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    MacInfoTrace2("RecordConverter", "%s: src_pid = %d, src_path = %s",
                  "-[AppDelegate recordConvertingJobRunner:didStartConvertingRecordItem:]", item->pid(),
                  item->srcPath().c_str());
    updateUI_ConvertingStarted(item);
}

void AppDelegate::recordConvertingJobRunnerUpdatesConvertingProgressForRecordItem(
    KTRMeetingRecordConvertingJobRunner&, double progress, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    MacInfoTrace2("RecordConverter", "%s: cvt_progress = %.2f%%",
                  "-[AppDelegate recordConvertingJobRunner:updatesConvertingProgress:forRecordItem:]", progress);
    updateUI_ConvertingProgressForRecordItem(progress, item);
}

void AppDelegate::recordConvertingJobRunnerDidStopConvertingRecordItem(
    KTRMeetingRecordConvertingJobRunner&, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    MacInfoTrace2("RecordConverter", "%s: src_pid = %d, src_path = %s",
                  "-[AppDelegate recordConvertingJobRunner:didStopConvertingRecordItem:]", item->pid(),
                  item->srcPath().c_str());
    updateUI_ConvertingStopped(item);
}

void AppDelegate::recordConvertingJobRunnerHitsConvertingErrorForRecordItem(
    KTRMeetingRecordConvertingJobRunner&, int error, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    MacErrorTrace2("RecordConverter", "%s: src_pid = %d, src_path = %s, error = %d",
                   "-[AppDelegate recordConvertingJobRunner:hitsConvertingError:forRecordItem:]", item->pid(),
                   item->srcPath().c_str(), error);
    updateUI_ConvertingErrorForRecordItem(error, item);
}

void AppDelegate::recordConvertingJobRunnerDidRunOutOfJobs(KTRMeetingRecordConvertingJobRunner&) {
    MacInfoTrace2("RecordConverter", "%s: ", "-[AppDelegate recordConvertingJobRunnerDidRunOutOfJobs:]");
    if (meetingPool()->countOfMeetingProcesses() == 0) {
        setBAllTaskFinished(true);
    }
}

bool AppDelegate::recordConvertingJobRunnderShouldKeepIntermediateItem(KTRMeetingRecordConvertingJobRunner&,
                                                                       const std::shared_ptr<KTRMeetingRecordItem>&) {
    // The flag is one byte wide: 256 does not keep, 257 does.
    return static_cast<std::uint8_t>(platform::integerReading(launchingEnv()->keepsIntermediateFile())) != 0;
}

void AppDelegate::updateUI_ConvertingStarted(const std::shared_ptr<KTRMeetingRecordItem>&) {
    if (showedFilePreparedBubble_) {
        return;
    }
    showedFilePreparedBubble_ = true;
    platform_.mainQueue.async([self = shared_from_this()] { self->converterReporter()->reportProcessStart(); });
}

void AppDelegate::updateUI_ConvertingProgressForRecordItem(double, const std::shared_ptr<KTRMeetingRecordItem>&) {}

void AppDelegate::updateUI_ConvertingStopped(const std::shared_ptr<KTRMeetingRecordItem>& item) {
    platform_.mainQueue.async([self = shared_from_this(), item] {
        self->converterReporter()->reportProcessDoneWithFilePath(item->dstPath());
    });
}

void AppDelegate::updateUI_ConvertingErrorForRecordItem(int error, const std::shared_ptr<KTRMeetingRecordItem>&) {
    if (error == 0) {
        return;
    }
    platform::SystemLog::standard().write("convert error " + std::to_string(error), platform::Severity::error);
    platform_.mainQueue.async(
        [self = shared_from_this()] { self->converterReporter()->reportProcessDoneWithFilePath(std::nullopt); });
}
