#pragma once

#include "platform/qt/QtDistributedNotificationCenter.h"

#include <QEventLoop>
#include <QString>

namespace platform::qt {

class NotificationBus;

/// One second launch that passes its arguments to the running converter. Uses the bus's owner handler for its lifetime;
/// its creator forwards notifications to `hear`. Main thread.
class LaunchHandOver final {
public:
    LaunchHandOver(NotificationBus& bus, const QString& busName, const LaunchVocabulary& words,
                   std::int32_t meetingProcessId, const std::optional<std::string>& path, const UserInfo& extras);
    ~LaunchHandOver();

    LaunchHandOver(const LaunchHandOver&) = delete;
    LaunchHandOver& operator=(const LaunchHandOver&) = delete;

    /// Waits in a nested event loop.
    QtDistributedNotificationCenter::HandOver run();

    void receive(const DistributedNotification& notification, const QString& sender);

private:
    enum class Answer { none, acknowledged, holderGone, busGone };

    Answer offerRecording();
    void confirmSpawn(std::int32_t holderProcessId);
    void ownerChanged(const QString& name, const QString& oldOwner);
    void finish(Answer answer);

    NotificationBus& bus_;
    const QString busName_;
    const LaunchVocabulary words_;
    const std::int32_t meetingProcessId_;
    const std::optional<std::string> path_;
    const UserInfo extras_;

    QString holder_;
    Answer answer_ = Answer::none;
    QEventLoop loop_;
};

}  // namespace platform::qt
