#include "recordkeeping/Recordkeeper.h"

#include "AppDelegate.h"
#include "KTRAppLaunchingEnv.h"
#include "KTRMeetingRecordItem.h"
#include "framework_art/commonmgr/LanguageManager.h"
#include "platform/BusySerialQueueMaker.h"
#include "platform/DispatchQueue.h"
#include "platform/GatedSerialQueueMaker.h"
#include "platform/IntegerReading.h"
#include "platform/ProcessInformation.h"
#include "platform/SystemLog.h"
#include "recordkeeping/HandOverKeys.h"
#include "recordkeeping/JobWatch.h"
#include "recordkeeping/Recovery.h"
#include "recordmeeting/KTRMeetingRecordNotifications.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace recordkeeping {

namespace {

const platform::UserInfoValue* entry(const platform::DistributedNotification& notification, const char* key) {
    if (!notification.userInfo) {
        return nullptr;
    }
    const auto found = notification.userInfo->find(key);
    return found == notification.userInfo->end() ? nullptr : &found->second;
}

/// 0 if there is none.
std::int32_t number(const platform::DistributedNotification& notification, const char* key) {
    const auto* const value = entry(notification, key);
    return value != nullptr ? platform::integerValue(*value) : 0;
}

std::int32_t meetingProcessId(const platform::DistributedNotification& notification) {
    return number(notification, kMeetingRecordNotificationKey_MeetingProcessId);
}

/// Empty if there is none.
std::string intermediatePath(const platform::DistributedNotification& notification) {
    const auto* const value = entry(notification, kMeetingRecordNotificationKey_RecordIntermediatePath);
    return value != nullptr ? platform::textValue(*value).value_or("") : "";
}

bool areOneFile(const std::string& one, const std::string& other) {
    std::error_code error;
    return one == other || std::filesystem::equivalent(one, other, error);
}

}  // namespace

Recordkeeper::Recordkeeper(const platform::Platform& platform, Services services)
    : platform_(platform),
      services_(std::move(services)),
      center_(platform.distributedCenter),
      processWatch_(platform.exitWatch, services_.afterDelivery),
      runLoop_(platform.runLoop),
      pending_(services_.folder, services_.processes, platform.processInformation.processIdentifier()),
      progress_(platform.mainQueue, pending_, services_.showProgress) {
    center_.setHooks([this](const platform::DistributedNotification& notification) { noteArriving(notification); },
                     [this](const platform::DistributedNotification& notification) { noteHandled(notification); });
    processWatch_.setEndHandler([this](std::int32_t processId) { noteEnded(processId); });
}

Recordkeeper::~Recordkeeper() = default;

platform::Platform Recordkeeper::platformForApplication() {
    return {platform_.application,
            runLoop_,
            platform_.mainQueue,
            platform_.serialQueueMaker,
            center_,
            platform_.notificationCenter,
            processWatch_,
            platform_.processInformation,
            platform_.fileManager,
            platform_.statusBar,
            platform_.workspace};
}

void Recordkeeper::setApplication(std::shared_ptr<AppDelegate> application) {
    application_ = std::move(application);
    work_.emplace(*application_, services_.queues, platform_.mainQueue);
    recovery_ =
        std::make_unique<Recovery>(*application_, center_, pending_, services_.processes, platform_.fileManager);
    left_ = pending_.takeOver();
    announceLaunch();
}

void Recordkeeper::announceLaunch() {
    KTRAppLaunchingEnv environment;
    environment.parseArguments(platform_.processInformation.arguments());
    launchLanguage_ = std::max(platform::integerReading(environment.localeId()), 1);
    language_ = launchLanguage_;
    // One byte wide, as the application reads it.
    launchKeeps_ = static_cast<std::uint8_t>(platform::integerReading(environment.keepsIntermediateFile())) != 0;
    const auto processId = platform::integerReading(environment.parentProcessId());
    if (processId != 0 && environment.filePath() && !environment.filePath()->empty()) {
        pending_.announce({*environment.filePath(), processId, launchLanguage_, launchKeeps_});
    }
}

void Recordkeeper::noteLaunched() {
    watchJobs();
    bringLeft(std::exchange(left_, {}));
    work_->look();
}

void Recordkeeper::watchJobs() {
    jobs_ = std::make_shared<JobWatch>(
        application_, JobWatch::Hooks{[this](const JobWatch::Item& item) { noteStarting(item); },
                                      [this](double percent) { progress_.noteProgress(percent); },
                                      [this](const JobWatch::Item& item) { return keepsIntermediate(item); },
                                      [this](const JobWatch::Item& item) { noteJobEnded(item); }});
    const auto runner = application_->convertingJobRunner();
    runner->setDelegate(jobs_);
    // A step releases the media converter of the job before it, and one that works in the background may not have
    // ended. The end of each job queues a step.
    services_.gate.setGate([&runner = *runner] { return !runner.hasJobRunning(); });
}

void Recordkeeper::noteStarting(const JobWatch::Item& item) {
    {
        const std::lock_guard lock(unreportedMutex_);
        if (unreported_.insert(item).second) {
            services_.queues.beginWork();
        }
    }
    pending_.noteConverting(item->srcPath(), item->dstPath());
    if (const auto pending = pending_.entryFor(item->srcPath())) {
        platform_.mainQueue.async([this, language = pending->language] { useLanguage(language); });
    }
    progress_.noteStarting(item->srcPath());
}

bool Recordkeeper::keepsIntermediate(const JobWatch::Item& item) {
    pending_.noteSaved(item->srcPath());
    const auto pending = pending_.entryFor(item->srcPath());
    return pending && pending->keep;
}

void Recordkeeper::noteJobEnded(const JobWatch::Item& item) {
    progress_.noteEnded();
    // After the bubble, which the application has queued on the main queue.
    platform_.mainQueue.async([this, item] { noteOutcomeShown(item); });
}

void Recordkeeper::noteOutcomeShown(const JobWatch::Item& item) {
    pending_.noteOutcomeShown(item->srcPath(), item->pid());
    bool wasUnreported = false;
    {
        const std::lock_guard lock(unreportedMutex_);
        wasUnreported = unreported_.erase(item) > 0;
    }
    if (wasUnreported) {
        services_.queues.endWork();
    }
}

void Recordkeeper::bringLeft(const std::vector<PendingEntry>& entries) {
    if (recovery_->bring(entries)) {
        work_->noteServed();
    }
    watchOtherConverters();
}

void Recordkeeper::watchOtherConverters() {
    for (const auto processId : pending_.otherConverters()) {
        processWatch_.watchIfUnwatched(processId);
    }
}

void Recordkeeper::useLanguage(std::int32_t language) {
    if (language != language_) {
        language_ = language;
        LanguageManager::setActiveLanguage(language);
    }
}

void Recordkeeper::noteIdle() {
    work_->noteIdle();
}

void Recordkeeper::noteGone(std::int32_t processId) {
    processWatch_.noteGone(processId);
}

bool Recordkeeper::mayTerminate() const {
    return work_->mayTerminate();
}

bool Recordkeeper::noteEnding() {
    const auto left = pending_.noteEnding();
    for (const auto& source : left) {
        platform::SystemLog::standard().write("left for the next start of the record converter: " + source,
                                              platform::Severity::warning);
    }
    return !left.empty();
}

std::optional<std::int32_t> Recordkeeper::meetingWithoutRecording() const {
    for (const auto& [processId, meeting] : application_->meetingPool()->meetingApps()) {
        if (!meeting->writingFile() && meeting->writtenFiles().empty()) {
            return processId;
        }
    }
    return std::nullopt;
}

void Recordkeeper::noteArriving(const platform::DistributedNotification& notification) {
    std::string path = intermediatePath(notification);
    if (notification.name != kMeetingRecordNotificationName_RecordingStarted || path.empty()) {
        return;
    }
    const auto processId = meetingProcessId(notification);
    const bool isHandedOver = number(notification, handedOverKey) != 0;
    if (isHandedOver) {
        path = stopOlderRecording(processId, path);
    }
    const auto language = number(notification, languageKey);
    pending_.announce({path, processId, language > 0 ? language : launchLanguage_,
                       launchKeeps_ || number(notification, keepsIntermediateFileKey) != 0});
}

std::string Recordkeeper::stopOlderRecording(std::int32_t processId, const std::string& path) {
    const auto& meetings = application_->meetingPool()->meetingApps();
    const auto meeting = meetings.find(processId);
    if (meeting == meetings.end() || !meeting->second->writingFile()) {
        return path;
    }
    const std::string writing = *meeting->second->writingFile();
    if (areOneFile(writing, path)) {
        return writing;
    }
    center_.speak({kMeetingRecordNotificationName_RecordingStopped, std::nullopt,
                   platform::UserInfo{{kMeetingRecordNotificationKey_MeetingProcessId, processId}}});
    pending_.noteStopped(processId);
    return path;
}

void Recordkeeper::noteHandled(const platform::DistributedNotification& notification) {
    const auto processId = meetingProcessId(notification);
    if (notification.name == kMeetingRecordNotificationName_RecordingStopped) {
        pending_.noteStopped(processId);
    } else if (notification.name == kMeetingRecordNotificationName_MeetingAppQuit) {
        pending_.noteDue(processId);
        progress_.look();
    }
    // The application guards a process from its first start on. A stop without a start leaves an entry that nothing
    // else would remove.
    if (isKnown(processId)) {
        processWatch_.watchIfUnwatched(processId);
    }
    work_->look();
}

void Recordkeeper::noteEnded(std::int32_t processId) {
    pending_.noteDue(processId);
    progress_.look();
    if (isKnown(processId)) {
        center_.speak({kMeetingRecordNotificationName_MeetingAppQuit, std::nullopt,
                       platform::UserInfo{{kMeetingRecordNotificationKey_MeetingProcessId, processId}}});
    }
    const auto others = pending_.otherConverters();
    if (std::find(others.begin(), others.end(), processId) != others.end()) {
        bringLeft(pending_.takeOver());
    }
    work_->look();
}

bool Recordkeeper::isKnown(std::int32_t processId) const {
    return application_->meetingPool()->meetingApps().contains(processId);
}

}  // namespace recordkeeping
