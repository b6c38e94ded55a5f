#include "platform/qt/LaunchHandOver.h"

#include "platform/SystemLog.h"
#include "platform/qt/NotificationBus.h"

#include <QTimer>
#include <chrono>

namespace platform::qt {

namespace {

constexpr auto kPatience = std::chrono::seconds(5);

}  // namespace

LaunchHandOver::LaunchHandOver(NotificationBus& bus, const QString& busName, const LaunchVocabulary& words,
                               std::int32_t meetingProcessId, const std::optional<std::string>& path,
                               const UserInfo& extras)
    : bus_(bus), busName_(busName), words_(words), meetingProcessId_(meetingProcessId), path_(path), extras_(extras) {
    bus_.setOwnerHandler(
        [this](const QString& name, const QString& oldOwner, const QString&) { ownerChanged(name, oldOwner); });
}

LaunchHandOver::~LaunchHandOver() {
    bus_.setOwnerHandler(nullptr);
}

QtDistributedNotificationCenter::HandOver LaunchHandOver::run() {
    using HandOver = QtDistributedNotificationCenter::HandOver;
    // Each iteration meets a different owner of the name, so this ends when converters stop coming and going.
    for (;;) {
        if (bus_.acquireName(busName_)) {
            return HandOver::becamePrimary;
        }
        holder_ = bus_.holderOf(busName_);
        const auto processId = holder_.isEmpty() ? std::nullopt : bus_.processIdOf(holder_);
        if (!processId) {
            continue;
        }
        if (meetingProcessId_ != 0) {
            const auto answer = offerRecording();
            if (answer == Answer::holderGone || answer == Answer::busGone) {
                continue;
            }
            if (answer == Answer::none) {
                SystemLog::standard().write("the running record converter, process " + std::to_string(*processId) +
                                            ", has not acknowledged; the recording waits in its queue");
            }
        }
        confirmSpawn(*processId);
        return HandOver::done;
    }
}

LaunchHandOver::Answer LaunchHandOver::offerRecording() {
    answer_ = Answer::none;
    DistributedNotification started{words_.recordingStarted, std::nullopt, extras_};
    started.userInfo->emplace(words_.meetingProcessId, meetingProcessId_);
    if (path_) {
        started.userInfo->emplace(words_.recordIntermediatePath, *path_);
    }
    bus_.send(started);

    QTimer patience;
    patience.setSingleShot(true);
    QObject::connect(&patience, &QTimer::timeout, &loop_, &QEventLoop::quit);
    patience.start(kPatience);
    loop_.exec();
    return answer_;
}

void LaunchHandOver::confirmSpawn(std::int32_t holderProcessId) {
    bus_.send({words_.spawnConfirmation, std::nullopt,
               UserInfo{{words_.ackFromProcessId, holderProcessId}, {words_.ackToProcessId, meetingProcessId_}}});
    bus_.flush();
}

void LaunchHandOver::receive(const DistributedNotification& notification, const QString& sender) {
    if (sender != holder_ || notification.name != words_.acknowledgement || !notification.userInfo) {
        return;
    }
    const auto& info = *notification.userInfo;
    const auto name = info.find(words_.ackNotificationName);
    const auto addressee = info.find(words_.ackToProcessId);
    if (name != info.end() && textValue(name->second) == words_.recordingStarted && addressee != info.end() &&
        integerValue(addressee->second) == meetingProcessId_) {
        finish(Answer::acknowledged);
    }
}

void LaunchHandOver::ownerChanged(const QString& name, const QString& oldOwner) {
    if (name.isEmpty()) {
        finish(Answer::busGone);
    } else if (name == busName_ && oldOwner == holder_) {
        finish(Answer::holderGone);
    }
}

void LaunchHandOver::finish(Answer answer) {
    // An acknowledgement stays valid, even if the owner leaves before this loop has ended.
    if (answer_ == Answer::none) {
        answer_ = answer;
        loop_.quit();
    }
}

}  // namespace platform::qt
